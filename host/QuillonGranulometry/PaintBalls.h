#pragma once

#include "QuillonGranulometry/StBalls.h"

#include <bit>
#include <cstdint>
#include <map>

namespace ORVEN {

/// Numbers of pixels by squared distance.
using SquaredSizes = std::map<std::int32_t, std::uint64_t>;

/// While balls are painted the pixels of the output hold squared distances, as the float of the same bits.
inline float PixelOf(std::int32_t squaredDistance) { return std::bit_cast<float>(squaredDistance); }
inline std::int32_t SquaredDistanceOf(float pixel) { return std::bit_cast<std::int32_t>(pixel); }

/// Gives every pixel of the structure the greatest squared distance of a ball that it lies in, and others 0;
/// adds the counts of pixels to `sizes`. False if cancelled.
///
/// Where balls are painted from the largest on, a pixel has its value once it is painted. Slabs of layers are
/// painted each by itself, with all balls that reach into it, so that threads need not know of one another.
bool PaintBalls(const StBalls& balls, const CLayerView<float>& output, SquaredSizes& sizes,
                IProgress& progress);

} // namespace ORVEN
