#pragma once

#include "CBasicsPlugin.h"

#include <cstdint>
#include <vector>

namespace quillon::basics {

/// "AutoThreshold": separates bright from dark pixels, or several classes of grey values, with thresholds
/// chosen from the histogram. See `thresholds/AutomaticThresholds.h` for the methods.
class CAutoThresholdPlugin : public CBasicsPlugin {
public:
    CAutoThresholdPlugin()
        : CBasicsPlugin("AutoThreshold") {}

protected:
    [[nodiscard]] bool Accepts(const ORVEN::IImage::CType& type) const override;
    void ReadParameters(const ORVEN::CValueMap& tree) override;
    StResult Compute(const ORVEN::CImage& image) override;

private:
    [[nodiscard]] std::vector<double> Thresholds(const ORVEN::CImage& image) const;

    std::string m_method;
    std::int32_t m_classes = 2;
};

} // namespace quillon::basics
