#pragma once

#include "QuillonGranulometry/CBitRows.h"
#include "QuillonGranulometry/CLayerView.h"
#include "QuillonGranulometry/CSmallBalls.h"
#include "QuillonGranulometry/StPlacedBall.h"

#include <QuillonBase/IProgress.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace ORVEN {

/// The balls of a structure, given by their squared distances to the outside of the structure. Candidates are
/// the balls not contained in the ball of a pixel nearby; every ball is contained in a candidate.
struct StBalls {
    StBalls(int dimensionOfImage, const CLayerView<const std::int32_t>& distancesOfPixels,
            std::int32_t greatest)
        : dimension(dimensionOfImage)
        , distances(distancesOfPixels)
        , greatestDistance(greatest)
        , candidates(distances.nx, distances.ny * distances.nz)
        , small(distances.ny, distances.nz, std::max<std::int64_t>(distances.LayersPerItem(), 32))
        , large(static_cast<std::size_t>(small.BlockCount())) {}

    int dimension;
    const CLayerView<const std::int32_t>& distances;
    std::int32_t greatestDistance;
    CBitRows candidates;
    CSmallBalls small;                            ///< the candidates up to `c_greatestSmallBall`
    std::vector<std::vector<StPlacedBall>> large; ///< the others, in the same blocks
};

/// Determines the candidates. Returns false if cancelled.
bool FindCandidates(StBalls& balls, IProgress& progress);

} // namespace ORVEN
