#pragma once

#include <QuillonBase/IProgress.h>
#include <sorblib2image/IImage.h>

#include <cstdint>

namespace ORVEN {

/// The morphological closing of an object with a ball of any size. The result consists of the pixels that lie
/// in no ball of the given squared radius that is free of object pixels. See `CSphericalMorphology` for ball,
/// images and border.
///
/// Balls with centres outside the image are included. These centres lie up to a radius away from the image on
/// all sides. Along a line that leaves the image, however, only the nearest free centre matters, because
/// those farther out cover less of the image. So no border is added along the shortest axis of the image,
/// where only that centre is stored for each line. Along the middle axis, only the plane that a thread works
/// on has a border.
///
/// `source` and `result` are IMAGE_BINARY_FG of the same size, not empty, and can be the same image.
/// `squaredRadius` must not be negative. Raises `CException` if an extent with the radius added on both sides
/// is 65535 or more, and as `RequireMemory`. Returns false if cancelled; the result is then undefined.
///
/// With extents s >= m >= c and radius r, time is (s + 2r) (m + 2r) c steps, and memory is 2 (s + 2r) m c
/// bytes plus 4 (m + 2r) c per thread. In 2-d, the same holds with m = 1 and without the 2r added to it.
bool CloseWithLargeBall(const IImage& source, IImage& result, std::int64_t squaredRadius,
                        IProgress& progress);

} // namespace ORVEN
