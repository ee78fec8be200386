#pragma once

#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CValueMap.h>

/// "CylinderMask": sets the pixels outside a cylinder to 0. On request it first crops the image to the
/// cylinder's bounding box. The cylinder is recorded in the image's header for later steps. See
/// `CCylinderMask` for the definition of the inside.
class CCylinderMaskPlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;
    void GetData(ORVEN::CValueMap& tree) override;

private:
    void MaskFocusedImage(ORVEN::CValueMap& tree);

    ORVEN::CValueMap* m_focusedDocument = nullptr;
    // The parameters have no defaults: a host passes all of them. These values only keep a run without them
    // well-defined.
    char m_axis = 'Z';
    double m_s = 0.0;
    double m_t = 0.0;
    double m_radius = 0.0;
    double m_crop = 0.0; ///< 0.0 or 1.0
};
