#pragma once

#include "CBasicsPlugin.h"

namespace quillon::basics {

/// "RegionalMaxima": labels the maxima of an image, or those that rise high enough, for use as markers.
class CRegionalMaximaPlugin : public CBasicsPlugin {
public:
    CRegionalMaximaPlugin()
        : CBasicsPlugin("RegionalMaxima") {}

protected:
    void ReadParameters(const ORVEN::CValueMap& tree) override;
    StResult Compute(const ORVEN::CImage& image) override;

private:
    std::string m_neighborhood;
    double m_height = 0.0;
};

} // namespace quillon::basics
