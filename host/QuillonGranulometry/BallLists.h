#pragma once

#include "QuillonGranulometry/StBalls.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace ORVEN {

/// A ball, with its centre as numbers that vector code can use directly. Coordinates are exact.
struct StBall {
    float x;
    float y;
    float z;
    std::int32_t squaredRadius;
};

/// Balls with a fixed capacity, so that nothing is allocated while they are added.
class CBallList {
public:
    explicit CBallList(std::int64_t capacity)
        : m_capacity(static_cast<std::size_t>(capacity))
        , m_balls(std::make_unique_for_overwrite<StBall[]>(m_capacity)) {}

    void Append(const StBall& ball) { m_balls[m_size++] = ball; }
    [[nodiscard]] std::span<const StBall> Balls() const { return {m_balls.get(), m_size}; }

    /// Sorts by decreasing size. Returns false if cancelled.
    bool Sort(CWorkPace& pace);

private:
    std::size_t m_capacity;
    std::size_t m_size = 0;
    std::unique_ptr<StBall[]> m_balls;
};

/// The candidates with a squared radius above `leastExcluded`, largest first. Incomplete if cancelled.
[[nodiscard]] CBallList SortedCandidates(const StBalls& balls, std::int32_t leastExcluded, CWorkPace& pace);

} // namespace ORVEN
