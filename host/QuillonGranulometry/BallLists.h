#pragma once

#include "QuillonGranulometry/StBalls.h"

#include <QuillonBase/CWorkPace.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <span>

namespace ORVEN {

/// Balls with a fixed capacity, so that nothing is allocated while they are added.
class CBallList {
public:
    explicit CBallList(std::size_t capacity)
        : m_balls(std::make_unique_for_overwrite<StPlacedBall[]>(capacity)) {}

    void Append(std::span<const StPlacedBall> balls) {
        std::ranges::copy(balls, m_balls.get() + m_size);
        m_size += balls.size();
    }
    [[nodiscard]] std::span<const StPlacedBall> Balls() const { return {m_balls.get(), m_size}; }

    /// Sorts by decreasing size. Returns false if cancelled.
    bool Sort(CWorkPace& pace);

private:
    std::size_t m_size = 0;
    std::unique_ptr<StPlacedBall[]> m_balls;
};

/// Moves the large balls to one list, largest first. Incomplete if cancelled. Raises as `RequireMemory` if
/// the list and an index for each ball do not fit.
[[nodiscard]] CBallList SortedLargeBalls(StBalls& balls, CWorkPace& pace);

} // namespace ORVEN
