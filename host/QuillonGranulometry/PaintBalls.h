#pragma once

#include "QuillonGranulometry/StBalls.h"

#include <bit>
#include <cstdint>
#include <map>

namespace ORVEN {

/// Number of pixels for each squared distance.
using SquaredSizes = std::map<std::int32_t, std::uint64_t>;

/// While balls are painted, the pixels of the output hold squared distances as floats with the same bit
/// pattern.
inline float PixelOf(std::int32_t squaredDistance) { return std::bit_cast<float>(squaredDistance); }
inline std::int32_t SquaredDistanceOf(float pixel) { return std::bit_cast<std::int32_t>(pixel); }

/// Sets every pixel of the structure to the greatest squared distance of all balls that contain it, and other
/// pixels to 0. Adds the pixel counts to `sizes`. Returns false if cancelled.
///
/// Balls are painted in order of decreasing size, so that a pixel is final once it is painted. Slabs of
/// layers are painted independently, each with all balls that reach into it, so that threads need no
/// synchronization.
bool PaintBalls(const StBalls& balls, const CLayerView<float>& output, SquaredSizes& sizes,
                IProgress& progress);

} // namespace ORVEN
