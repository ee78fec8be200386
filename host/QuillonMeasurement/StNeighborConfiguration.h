#pragma once

#include <array>
#include <cstdint>

namespace ORVEN {

/// How many blocks of 2 x 2 x 2 pixels of a binary image have each of the 256 configurations. Bit b of a
/// configuration is set if pixel (b & 1, b >> 1 & 1, b >> 2 & 1) of the block is.
struct StNeighborConfiguration {
    using Counts = std::array<std::uint64_t, 256>;

    /// All blocks inside the window, each once: for volume and surface.
    Counts counts{};
    /// For the integrals of curvature. A caller that weighs or leaves out blocks at the edges of objects or
    /// of the window does so here; without such a correction both tables are alike.
    Counts edgeCorrectedCounts{};
};

} // namespace ORVEN
