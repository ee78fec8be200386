#pragma once

#include <sorblib2image/IImage.h>

namespace quillon {

/// Writes 255 to the pixels of `result` that are exactly 1 and whose neighbourhoods in `image` pass the test
/// for simple points (`SimplePointTest.h`); all others stay unchanged. `result` is a copy of the image, or of
/// part of it. Neighbourhoods are taken from the unchanged image, in which 0 is background and everything
/// else foreground. Both images have the same size and one byte per pixel.
///
/// Runs on the calling thread and reports no progress. Time: linear in the number of pixels, regardless of
/// their values. Memory: half a byte per pixel of one plane.
template <class N>
void MarkSimplePoints(const ORVEN::IImage& image, ORVEN::IImage& result);

} // namespace quillon
