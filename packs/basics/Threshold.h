#pragma once

#include "CBasicsPlugin.h"

namespace quillon::basics {

/// "Threshold": the pixels whose grey value lies between two limits, both included.
class CThresholdPlugin : public CBasicsPlugin {
public:
    CThresholdPlugin()
        : CBasicsPlugin("Threshold") {}

protected:
    void ReadParameters(const ORVEN::CValueMap& tree) override;
    StResult Compute(const ORVEN::CImage& image) override;

private:
    std::optional<double> m_lower;
    std::optional<double> m_upper;
};

} // namespace quillon::basics
