#pragma once

#include "QuillonTransformation/axis/CSphereVectors.h"

#include <cstdint>
#include <vector>

namespace ORVEN {

/// A vector of the test neighbourhood of the medial axis: a ball is looked for inside those of the pixels at
/// its images under the symmetries of the grid.
struct StMedialAxisGenerator {
    StSortedVector vector;
    std::uint32_t leastDistance; ///< balls of a smaller squared radius need no look at it
    std::uint32_t foundAt;       ///< no object without a ball of this squared radius needs it

    friend constexpr bool operator==(const StMedialAxisGenerator&, const StMedialAxisGenerator&) = default;
};

/// A test neighbourhood: complete for objects whose squared distances are at most the reach. The list, in
/// which `foundAt` never falls, begins with those of every smaller reach.
struct StMedialAxisNeighborhood {
    std::uint32_t reach = 0;
    std::vector<StMedialAxisGenerator> generators;
};

} // namespace ORVEN
