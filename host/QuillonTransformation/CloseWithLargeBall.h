#pragma once

#include <QuillonBase/IProgress.h>
#include <sorblib2image/IImage.h>

#include <cstdint>

namespace ORVEN {

/// The morphological closing of an object with a ball of any size: the pixels that no ball of that squared
/// radius contains which is free of object pixels. See `CSphericalMorphology` for ball, images and border.
///
/// Balls around places outside the image take part. They lie up to a radius away from it on all sides, but
/// along a line that leaves the image only the nearest free one matters: those farther out contain less of
/// the image. So no border is put around the image along its shortest axis, where only that place is kept for
/// each line, and none along its middle axis but for the one plane that a thread works on.
///
/// `source` and `result` are IMAGE_BINARY_FG of one size, not empty, and can be one image. `squaredRadius`
/// is not negative. Raises `CException` where an extent with the radius added on both sides is 65535 or more.
/// Returns false if cancelled; the result is then undefined.
///
/// With extents s >= m >= c and the radius r. Time: (s + 2r) (m + 2r) c steps. Memory: 2 (s + 2r) m c bytes,
/// and 4 (m + 2r) c for each thread. In 2-d the same with m = 1 and no 2r beside it.
bool CloseWithLargeBall(const IImage& source, IImage& result, std::int64_t squaredRadius,
                        IProgress& progress);

} // namespace ORVEN
