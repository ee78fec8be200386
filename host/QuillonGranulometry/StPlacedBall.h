#pragma once

#include <cstdint>

namespace ORVEN {

/// A ball, with its centre as numbers that vector code can use directly. Coordinates are exact.
struct StPlacedBall {
    float x;
    float y;
    float z;
    std::int32_t squaredRadius;
};

} // namespace ORVEN
