#pragma once

#include "QuillonGranulometry/StBalls.h"

#include <QuillonBase/IProgress.h>

#include <cstdint>

namespace ORVEN {

/// The greatest squared radius of balls that are few pixels wide, and so numerous that sets of pixels are
/// cheaper than lists of balls.
inline constexpr std::int32_t c_greatestSmallBall = 30;

/// Sets the pixels of the structure that are still 0 to the greatest squared radius of the small balls that
/// contain them. Returns false if cancelled.
///
/// Pixels are bits of words: for each squared radius in turn, the centres of its balls are widened along x,
/// and rows of the results are united. Where a block of the image has few balls of a squared radius, each is
/// placed on its own. Time: proportional to the number of pixels, whatever the number of balls. Memory per
/// thread: 3 kB for each pixel along x, and 8 bytes for each small ball of a block.
bool CoverWithSmallBalls(const StBalls& balls, const CLayerView<float>& output, IProgress& progress);

} // namespace ORVEN
