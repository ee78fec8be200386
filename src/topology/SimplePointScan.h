#pragma once

#include <sorblib2image/IImage.h>

namespace quillon {

/// Writes 255 to the pixels of `result` that are exactly 1 and whose surroundings in `image` pass the test
/// for simple points (`SimplePointTest.h`); all others stay. The result is a copy of the image, or part of
/// one. Surroundings are those of the unchanged image, in which 0 is background and all else foreground. Both
/// are of one size and of one byte a pixel.
///
/// Runs on the caller's thread and tells no progress. Time is linear in pixels, whatever they are; memory is
/// half a byte a pixel of one plane.
template <class N>
void MarkSimplePoints(const ORVEN::IImage& image, ORVEN::IImage& result);

} // namespace quillon
