#pragma once

#include "CBasicsPlugin.h"

namespace quillon::basics {

/// "LabelMeasurements": measures each object of a label image, and stores the results in the image.
class CLabelMeasurementsPlugin : public CBasicsPlugin {
public:
    CLabelMeasurementsPlugin()
        : CBasicsPlugin("LabelMeasurements") {}

    void GetData(ORVEN::CValueMap& tree) override;

protected:
    [[nodiscard]] bool Accepts(const ORVEN::IImage::CType& type) const override;
    void ReadParameters(const ORVEN::CValueMap& tree) override;
    StResult Compute(const ORVEN::CImage& image) override;

private:
    /// Null if cancelled.
    [[nodiscard]] std::unique_ptr<ORVEN::CValueMap> Measured(const ORVEN::CImage& image) const;

    const ORVEN::CImage* m_image2 = nullptr;
};

} // namespace quillon::basics
