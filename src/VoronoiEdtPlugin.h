#pragma once

#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueMap.h>

/// "VoronoiEdtPlugin": computes the Euclidean distance map of a binary image, on request only inside the
/// cylinder recorded in its header. See `CEdtVoronoi` and `CCylinderMask`.
class CVoronoiEdtPlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;
    void GetData(ORVEN::CValueMap& tree) override;

private:
    ORVEN::CValueMap* m_focusedDocument = nullptr;
    bool m_isOnForeground = false;
    ORVEN::CString m_edgeTreatment;
    bool m_isExact = true; ///< otherwise squared distances
    bool m_usesCylinder = true;
};
