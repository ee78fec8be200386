#pragma once

#include <array>
#include <cstddef>

namespace ORVEN {

/// A vector in space.
using Vector3d = std::array<double, 3>;

/// The directions between pixels of a 2 x 2 x 2 block, one of each opposite pair, in lattice steps.
inline constexpr std::size_t c_directionCount = 13;
inline constexpr std::array<std::array<int, 3>, c_directionCount> c_directions{{{1, 0, 0},
                                                                                {0, 1, 0},
                                                                                {0, 0, 1},
                                                                                {1, 1, 0},
                                                                                {1, -1, 0},
                                                                                {1, 0, 1},
                                                                                {1, 0, -1},
                                                                                {0, 1, 1},
                                                                                {0, 1, -1},
                                                                                {1, 1, 1},
                                                                                {1, 1, -1},
                                                                                {1, -1, 1},
                                                                                {-1, 1, 1}}};

/// For each direction, the fraction of the unit sphere that is closer to it or its opposite than to any
/// other: its weight in a mean over all directions. The directions need not be normalized. The shares sum to
/// 1.
std::array<double, c_directionCount>
DirectionShares(const std::array<Vector3d, c_directionCount>& directions);

} // namespace ORVEN
