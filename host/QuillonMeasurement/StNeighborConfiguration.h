#pragma once

#include <array>
#include <cstdint>

namespace ORVEN {

/// The number of blocks of 2 x 2 x 2 pixels of a binary image for each of the 256 configurations. Bit b of a
/// configuration is set if pixel (b & 1, b >> 1 & 1, b >> 2 & 1) of the block is set.
struct StNeighborConfiguration {
    using Counts = std::array<std::uint64_t, 256>;

    /// Counts every block inside the window once; used for volume and surface.
    Counts counts{};
    /// Used for the integrals of curvature. A caller that weights or omits blocks at the edges of objects or
    /// of the window does so here. Without such a correction both tables are equal.
    Counts edgeCorrectedCounts{};
};

} // namespace ORVEN
