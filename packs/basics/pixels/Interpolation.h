#pragma once

#include "pixels/Geometry.h"

#include <QuillonBase/IProgress.h>
#include <sorblib2image/CImage.h>

#include <optional>
#include <string_view>

namespace quillon::basics {

enum class EnInterpolation { NEAREST, LINEAR, BSPLINE };

[[nodiscard]] std::optional<EnInterpolation> InterpolationOf(std::string_view name);
[[nodiscard]] const char* NameOf(EnInterpolation interpolation);

/// The position of the first of the new pixels in pixels of the old image, if new pixels are `step` old ones
/// long and both images begin at the same edge.
[[nodiscard]] double FirstPosition(double step);

/// Fills `result`, of the same type and dimension as `image`, with the values of the image at the centres of
/// its pixels, which are `steps` pixels of the image long. Returns false if cancelled.
///
/// Nearest takes the pixel nearest to the position, of two equally near ones the latter; linear interpolates
/// between the 2 neighbours along each axis; bspline passes a cubic spline through all pixels, mirrored at
/// the first and the last one. Positions beyond the centres of the outermost pixels take the value there.
/// Results are rounded and clamped to the pixel type. The image is not smoothed first.
///
/// Time: linear in the pixels of the result, times the number of neighbours; the spline needs a pass over the
/// image before. Memory: for the spline 16 bytes per pixel of the image.
///
/// Source: M. Unser, *Splines: a perfect fit for signal and image processing*, 1999.
bool Interpolate(const ORVEN::CImage& image, ORVEN::CImage& result, const Triple& steps,
                 EnInterpolation interpolation, ORVEN::IProgress& progress);

} // namespace quillon::basics
