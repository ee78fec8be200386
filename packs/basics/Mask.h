#pragma once

#include "CBasicsPlugin.h"

namespace quillon::basics {

/// "Mask": sets the pixels outside a binary image to a value.
class CMaskPlugin : public CBasicsPlugin {
public:
    CMaskPlugin()
        : CBasicsPlugin("Mask") {}

protected:
    void ReadParameters(const ORVEN::CValueMap& tree) override;
    StResult Compute(const ORVEN::CImage& image) override;

private:
    const ORVEN::CImage* m_image2 = nullptr;
    double m_outside = 0.0;
};

} // namespace quillon::basics
