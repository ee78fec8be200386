#pragma once

#include <sorblib2image/CImage.h>

#include <array>

namespace quillon::basics {

/// A number for x, y and z.
using Triple = std::array<double, 3>;

/// The spacing of an image; 1 x 1 x 1 if it has none on record.
[[nodiscard]] Triple SpacingOf(const ORVEN::CImage& image);

/// For a result that has inherited the geometry of its input, but whose first pixel lies elsewhere: at
/// `firstPixel` in pixels of the input. Moves the origin among the attributes, so that the result lies over
/// its input. Must be called before the result gets another spacing.
void MoveFirstPixel(ORVEN::CImage& result, const Triple& firstPixel);

} // namespace quillon::basics
