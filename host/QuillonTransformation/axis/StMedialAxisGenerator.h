#pragma once

#include "QuillonTransformation/axis/CSphereVectors.h"

#include <cstdint>
#include <vector>

namespace ORVEN {

/// A vector of the test neighbourhood of the medial axis. A ball is tested for inclusion in the balls of the
/// pixels at the vector's images under the symmetries of the grid.
struct StMedialAxisGenerator {
    StSortedVector vector;
    std::uint32_t leastDistance; ///< balls of a smaller squared radius need not be tested against it
    std::uint32_t foundAt;       ///< only objects with a ball of this squared radius need it

    friend constexpr bool operator==(const StMedialAxisGenerator&, const StMedialAxisGenerator&) = default;
};

/// A test neighbourhood: complete for objects whose squared distances do not exceed the reach. In the list,
/// `foundAt` never decreases, so the neighbourhood of any smaller reach is a prefix.
struct StMedialAxisNeighborhood {
    std::uint32_t reach = 0;
    std::vector<StMedialAxisGenerator> generators;
};

} // namespace ORVEN
