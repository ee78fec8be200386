#pragma once

#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CValueMap.h>

/// "CylinderMask": sets the pixels outside a cylinder to 0, on request after the image is cut to the
/// cylinder's bounding box, and leaves the cylinder on record in the image for later steps. See
/// `CCylinderMask` for what is inside.
class CCylinderMaskPlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;
    void GetData(ORVEN::CValueMap& tree) override;

private:
    void MaskFocusedImage(ORVEN::CValueMap& tree);

    ORVEN::CValueMap* m_focusedDocument = nullptr;
    // There are no defaults, a host sends all of them. These values only keep a run without them defined.
    char m_axis = 'Z';
    double m_s = 0.0;
    double m_t = 0.0;
    double m_radius = 0.0;
    double m_crop = 0.0; ///< 0.0 or 1.0
};
