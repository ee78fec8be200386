#pragma once

#include "CBasicsPlugin.h"

namespace quillon::basics {

/// "Rescale": maps a range of grey values linearly to all of another type.
class CRescalePlugin : public CBasicsPlugin {
public:
    CRescalePlugin()
        : CBasicsPlugin("Rescale") {}

protected:
    void ReadParameters(const ORVEN::CValueMap& tree) override;
    StResult Compute(const ORVEN::CImage& image) override;

private:
    std::string m_type;
    std::optional<double> m_from;
    std::optional<double> m_to;
};

} // namespace quillon::basics
