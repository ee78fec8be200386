#pragma once

#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CValueMap.h>

/// "LinearDt": computes the distance of each pixel to the nearest pixel of the other phase along one axis.
/// See `CLinearDistanceTransformation`.
class CLinearDistanceTransformationPlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;
    void GetData(ORVEN::CValueMap& tree) override;

private:
    ORVEN::CValueMap* m_focusedDocument = nullptr;
    char m_direction = 'x';
    bool m_isOnForeground = false;
    bool m_isEdgeEmbedded = false;
    bool m_isExact = true; ///< otherwise squared distances
};
