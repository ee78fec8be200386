#pragma once

#include "QuillonGranulometry/StBalls.h"

#include <cstdint>

namespace ORVEN {

/// Whether no other ball contains the ball of a candidate as a set of pixels. `openingSize` is the greatest
/// squared distance of all balls that contain the candidate pixel.
///
/// A ball that contains another also contains its centre, so its squared distance is at most the opening size
/// there. Among the balls that contain it, a largest one is itself a candidate. Time: one step for each
/// candidate within the difference of the two radii. Candidates that cannot be ruled out immediately take one
/// step for each row in an eighth of the ball. The result is meaningless once `pace` is cancelled.
[[nodiscard]] bool IsMaximalBall(const StBalls& balls, std::int64_t x, std::int64_t y, std::int64_t z,
                                 std::int32_t openingSize, CWorkPace& pace);

} // namespace ORVEN
