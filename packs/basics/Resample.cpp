#include "Resample.h"

#include "pixels/PixelLoops.h"

#include <sorblib2image/CQuillonHeaderTools.h>

#include <cmath>

namespace quillon::basics {

using namespace ORVEN;

void CResamplePlugin::ReadParameters(const CValueMap& tree) {
    m_spacing = ReadNumber(tree, "spacing");
    m_factor = ReadNumber(tree, "factor");
    m_interpolation = ReadText(tree, "interpolation", "");
}

std::string CResamplePlugin::Request(const char* sign) const {
    return (m_spacing ? "spacing" : "factor") + std::string(sign) +
           TextOf(m_spacing ? *m_spacing : *m_factor);
}

Triple CResamplePlugin::Steps(const Triple& spacing, int dimension) const {
    if (m_spacing.has_value() == m_factor.has_value())
        Refuse(m_spacing ? "spacing and factor are both given." : "spacing and factor are both missing.");
    const double number = m_spacing ? *m_spacing : *m_factor;
    if (!(number > 0.0) || !std::isfinite(number))
        Refuse(Request(" = ") + " must be greater than 0.");
    Triple steps{1.0, 1.0, 1.0};
    for (std::size_t axis = 0; axis < static_cast<std::size_t>(dimension); ++axis) {
        if (!(spacing[axis] > 0.0) || !std::isfinite(spacing[axis]))
            Refuse("the image has the spacing " + TextOf(spacing[axis]) +
                   " along an axis; it must be greater than 0.");
        steps[axis] = m_spacing ? *m_spacing / spacing[axis] : 1.0 / *m_factor;
    }
    return steps;
}

CSize CResamplePlugin::NewSize(const CSize& size, const Triple& steps) const {
    constexpr double mostAlongAxis = 2147483647.0;
    constexpr double mostPixels = 1e12;
    CSize newSize = size;
    double pixels = 1.0;
    for (int axis = 0; axis < size.Dim(); ++axis) {
        const double extent = std::fmax(
            1.0, std::floor(static_cast<double>(size[axis]) / steps[static_cast<std::size_t>(axis)] + 0.5));
        pixels *= extent;
        if (extent > mostAlongAxis || pixels > mostPixels)
            Refuse(Request(" = ") + " would make an image of more than 10^12 pixels.");
        newSize[axis] = static_cast<std::int64_t>(extent);
    }
    return newSize;
}

EnInterpolation CResamplePlugin::Interpolation(const CImage& image) const {
    std::size_t labelCount = 0;
    if (m_interpolation.empty())
        return image.Type().IsBinary() || CQuillonHeaderTools::GetNumberOfLabels(image, labelCount)
                   ? EnInterpolation::NEAREST
                   : EnInterpolation::LINEAR;
    const auto interpolation = InterpolationOf(m_interpolation);
    if (!interpolation)
        Refuse("interpolation = " + m_interpolation + " must be nearest, linear or bspline.");
    return *interpolation;
}

StResult CResamplePlugin::Compute(const CImage& image) {
    const Triple spacing = SpacingOf(image);
    const Triple steps = Steps(spacing, image.Size().Dim());
    const EnInterpolation interpolation = Interpolation(image);

    StResult result{NewImage(image.Type(), NewSize(image.Size(), steps)), {}};
    result.keepsMeaning = interpolation == EnInterpolation::NEAREST;
    result.spacing.emplace();
    for (std::size_t axis = 0; axis < steps.size(); ++axis) {
        result.firstPixel[axis] = FirstPosition(steps[axis]);
        (*result.spacing)[axis] = spacing[axis] * steps[axis];
    }
    CProgressProxy progress = HostProgress();
    if (!Interpolate(image, *result.image, steps, interpolation, progress))
        return {};
    result.history = "resample(" + Request("=") + "," + NameOf(interpolation) + ")";
    return result;
}

} // namespace quillon::basics
