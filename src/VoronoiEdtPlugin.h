#pragma once

#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueMap.h>

/// "VoronoiEdtPlugin": the Euclidean distance map of a binary image, on request only inside the cylinder that
/// the image has on record. See `CEdtVoronoi` and `CCylinderMask`.
class CVoronoiEdtPlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;
    void GetData(ORVEN::CValueMap& tree) override;

private:
    ORVEN::CValueMap* m_focusedDocument = nullptr;
    bool m_onForeground = false;
    ORVEN::CString m_edgeTreatment;
    bool m_exactValues = true; ///< else squared ones
    bool m_usesCylinder = true;
};
