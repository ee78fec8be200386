#include "QuillonGranulometry/CDiameters.h"

#include <sorblib2image/CQuillonHeaderTools.h>

#include <cmath>

namespace ORVEN {

CDiameters::CDiameters(const IImage& image, double stepWidth)
    : m_stepWidth(std::isfinite(stepWidth) && stepWidth > 0.0 ? stepWidth : 0.0) {
    double x = 1.0;
    double y = 1.0;
    double z = 1.0;
    CQuillonHeaderTools::GetSpacing(image, x, y, z);
    m_spacing = std::isfinite(x) && x > 0.0 ? x : 1.0;
}

float CDiameters::Of(std::int32_t squaredDistance) const {
    const double diameter = 2.0 * std::sqrt(static_cast<double>(squaredDistance)) * m_spacing;
    if (m_stepWidth == 0.0)
        return static_cast<float>(diameter);
    // A diameter that is a multiple of the step width must not lose a step by rounding.
    constexpr double tolerance = 1e-9;
    return static_cast<float>(std::floor(diameter / m_stepWidth + tolerance) * m_stepWidth);
}

} // namespace ORVEN
