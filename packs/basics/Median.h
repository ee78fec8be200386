#pragma once

#include "CBasicsPlugin.h"

#include <cstdint>

namespace quillon::basics {

/// "Median": replaces each pixel by the median of a box around it.
class CMedianPlugin : public CBasicsPlugin {
public:
    CMedianPlugin()
        : CBasicsPlugin("Median") {}

protected:
    void ReadParameters(const ORVEN::CValueMap& tree) override;
    StResult Compute(const ORVEN::CImage& image) override;

private:
    std::int32_t m_radius = 1;
};

} // namespace quillon::basics
