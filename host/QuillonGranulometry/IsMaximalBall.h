#pragma once

#include "QuillonGranulometry/StBalls.h"

#include <cstdint>

namespace ORVEN {

/// Whether no other ball contains that of a candidate, as a set of pixels. `openingSize` is the greatest
/// squared distance of a ball that the candidate's pixel lies in.
///
/// A ball that contains another contains its centre too, so that its squared distance is at most the opening
/// size there; and a largest one of them is a candidate itself. Time: a step for each candidate within the
/// difference of the two radii, and for those that are not ruled out at once one for each eighth of the
/// ball's rows. Without use once the pace is cancelled.
[[nodiscard]] bool IsMaximalBall(const StBalls& balls, std::int64_t x, std::int64_t y, std::int64_t z,
                                 std::int32_t openingSize, CWorkPace& pace);

} // namespace ORVEN
