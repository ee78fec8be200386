#pragma once

#include "CBasicsPlugin.h"

#include <cstdint>

namespace quillon::basics {

/// "ConnectedComponents": gives each connected object of a binary image a label, the largest object label 1.
class CConnectedComponentsPlugin : public CBasicsPlugin {
public:
    CConnectedComponentsPlugin()
        : CBasicsPlugin("ConnectedComponents") {}

protected:
    [[nodiscard]] bool Accepts(const ORVEN::IImage::CType& type) const override;
    void ReadParameters(const ORVEN::CValueMap& tree) override;
    StResult Compute(const ORVEN::CImage& image) override;

private:
    std::string m_neighborhood;
    std::int32_t m_minimumSize = 1;
};

} // namespace quillon::basics
