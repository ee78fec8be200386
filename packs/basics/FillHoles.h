#pragma once

#include "CBasicsPlugin.h"

namespace quillon::basics {

/// "FillHoles": makes the background that is not connected with the border of the image part of the objects.
class CFillHolesPlugin : public CBasicsPlugin {
public:
    CFillHolesPlugin()
        : CBasicsPlugin("FillHoles") {}

protected:
    [[nodiscard]] bool Accepts(const ORVEN::IImage::CType& type) const override;
    void ReadParameters(const ORVEN::CValueMap& tree) override;
    StResult Compute(const ORVEN::CImage& image) override;

private:
    std::string m_neighborhood;
};

} // namespace quillon::basics
