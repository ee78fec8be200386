#pragma once

#include "CBasicsPlugin.h"

namespace quillon::basics {

/// "Invert": swaps object and background of a binary image; otherwise subtracts each pixel from the greatest.
class CInvertPlugin : public CBasicsPlugin {
public:
    CInvertPlugin()
        : CBasicsPlugin("Invert") {}

protected:
    void ReadParameters(const ORVEN::CValueMap&) override {}
    StResult Compute(const ORVEN::CImage& image) override;
};

} // namespace quillon::basics
