#pragma once

#include "CBasicsPlugin.h"

namespace quillon::basics {

/// "Arithmetic": combines each pixel with the pixel of a second image, or with a number.
class CArithmeticPlugin : public CBasicsPlugin {
public:
    CArithmeticPlugin()
        : CBasicsPlugin("Arithmetic") {}

protected:
    void ReadParameters(const ORVEN::CValueMap& tree) override;
    StResult Compute(const ORVEN::CImage& image) override;

private:
    std::string m_operation;
    const ORVEN::CImage* m_image2 = nullptr;
    std::optional<double> m_value;
};

} // namespace quillon::basics
