#pragma once

#include <QuillonBase/IProgress.h>
#include <sorblib2image/IImage.h>

namespace ORVEN {

/// The squared distance, in pixels, of each object pixel to the nearest background pixel; 0 in the
/// background.
///
/// `binary`: IMAGE_BINARY_FG of dimension 1, 2 or 3, where all that is not 0 is object. `squared`:
/// IMAGE_GREY_32 of the same size. What lies outside the image is background and spacing plays no part, so
/// that the result is exact, at least 1 in the object and at most ((e + 1) / 2)^2 for the least extent e.
///
/// Raises `CException` for types and sizes that do not fit and for an extent of 65535 or more. A cancelled
/// run leaves early, with 0 wherever it was not done.
///
/// Time: linear in the number of pixels. Memory: some dozen lines a thread. Method and sources as for
/// `CEdtVoronoi`.
void SquaredDistancesToBackground(const IImage& binary, IImage& squared, IProgress& progress);

} // namespace ORVEN
