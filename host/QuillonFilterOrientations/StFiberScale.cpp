#include "QuillonFilterOrientations/StFiberScale.h"

#include <sorblib2image/CQuillonHeaderTools.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace ORVEN::Impl {

namespace {

std::array<double, 3> SpacingOf(const IImage& image) {
    std::array<double, 3> spacing{1.0, 1.0, 1.0};
    CQuillonHeaderTools::GetSpacing(image, spacing[0], spacing[1], spacing[2]);
    return spacing;
}

std::array<double, 3> Usable(std::array<double, 3> spacing) {
    for (double& component : spacing) {
        if (!(component > 0.0) || !std::isfinite(component))
            component = 1.0;
    }
    return spacing;
}

/// For isolated fibres, half the radius is as good as any value up to 0.7 times the radius, and it is better
/// where fibres touch. Below 1.25 pixels, the steps of a sampled edge would count as structure.
double SigmaOf(double fiberRadius, const std::array<double, 3>& spacing, std::size_t dimension) {
    const double widest = *std::max_element(spacing.begin(), spacing.begin() + dimension);
    return std::max(fiberRadius / 2.0, 1.25 * widest);
}

} // namespace

StFiberScale::StFiberScale(const IImage& image, double fiberRadius)
    : StFiberScale(image.Size(), SpacingOf(image), fiberRadius) {}

StFiberScale::StFiberScale(const CSize& size, const std::array<double, 3>& imageSpacing, double fiberRadius)
    : dimension(static_cast<std::size_t>(size.Dim()))
    , spacing(Usable(imageSpacing))
    , sigma(SigmaOf(fiberRadius, spacing, dimension)) {
    constexpr double greatest = std::numeric_limits<std::int32_t>::max();
    border = static_cast<std::int64_t>(std::min(fiberRadius / spacing[0] + 0.5, greatest));
    area = {{0, 0, 0}, {1, 1, 1}};
    for (std::size_t axis = 0; axis < dimension; ++axis) {
        sigmaPixels[axis] = sigma / spacing[axis];
        area.first[axis] = border;
        area.end[axis] = size[static_cast<std::int64_t>(axis)] - border;
    }
    for (std::size_t axis = dimension; axis < 3; ++axis)
        sigmaPixels[axis] = 0.0;
}

} // namespace ORVEN::Impl
