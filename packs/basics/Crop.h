#pragma once

#include "CBasicsPlugin.h"

#include <array>
#include <cstdint>

namespace quillon::basics {

/// "Crop": a box of the image, both corners included.
class CCropPlugin : public CBasicsPlugin {
public:
    CCropPlugin()
        : CBasicsPlugin("Crop") {}

protected:
    void ReadParameters(const ORVEN::CValueMap& tree) override;
    StResult Compute(const ORVEN::CImage& image) override;

private:
    std::array<std::optional<std::int32_t>, 3> m_first;
    std::array<std::optional<std::int32_t>, 3> m_last;
};

} // namespace quillon::basics
