#pragma once

#include <cmath>
#include <cstdint>

namespace ORVEN {

/// The integer part of a square root. Exact for numbers from 0 to 2^52, for which double precision suffices.
inline std::int64_t FloorSqrt(std::int64_t number) {
    return static_cast<std::int64_t>(std::sqrt(static_cast<double>(number)));
}

} // namespace ORVEN
