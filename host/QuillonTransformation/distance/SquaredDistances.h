#pragma once

#include <QuillonBase/IProgress.h>
#include <sorblib2image/IImage.h>

#include <cstdint>

namespace ORVEN {

/// Computes the squared distance, in pixels, of each object pixel to the nearest background pixel; 0 in the
/// background.
///
/// `binary`: IMAGE_BINARY_FG of dimension 1, 2 or 3, where every non-zero pixel is object. `squared`:
/// IMAGE_GREY_32 of the same size. Everything outside the image is background and spacing is ignored, so the
/// result is exact, at least 1 in the object, and at most ((e + 1) / 2)^2 for the smallest extent e.
///
/// Returns the largest of them. Raises `CException` for types and sizes that do not fit and for an extent of
/// 65535 or more. A cancelled run returns early, with 0 wherever the result was not computed.
///
/// Time: linear in the number of pixels. Memory: a few dozen lines per thread. For method and sources, see
/// `CEdtVoronoi`.
std::int32_t SquaredDistancesToBackground(const IImage& binary, IImage& squared, IProgress& progress);

} // namespace ORVEN
