#pragma once

#include "QuillonGranulometry/CBitRows.h"
#include "QuillonGranulometry/CLayerView.h"

#include <QuillonBase/IProgress.h>

#include <cstdint>

namespace ORVEN {

/// The balls of a structure, given by their squared distances to the outside of the structure. Candidates are
/// the balls not contained in the ball of a pixel nearby; every ball is contained in a candidate.
struct StBalls {
    int dimension;
    const CLayerView<const std::int32_t>& distances;
    std::int32_t greatestDistance;
    CBitRows candidates;
};

/// Determines the candidates. Returns false if cancelled.
bool FindCandidates(StBalls& balls, IProgress& progress);

} // namespace ORVEN
