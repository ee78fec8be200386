#pragma once

#include "QuillonGranulometry/CBitRows.h"
#include "QuillonGranulometry/CLayerView.h"

#include <QuillonBase/IProgress.h>

#include <cstdint>

namespace ORVEN {

/// The balls of a structure, as squared distances to what is not of it, and those among them that none of the
/// nearest neighbours' contains: every ball is contained in one of those.
struct StBalls {
    int dimension;
    const CLayerView<const std::int32_t>& distances;
    std::int32_t greatestDistance;
    CBitRows candidates;
};

/// Fills the candidates. False if cancelled.
bool FindCandidates(StBalls& balls, IProgress& progress);

} // namespace ORVEN
