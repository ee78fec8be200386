#include "QuillonGranulometry/BallLists.h"

#include <algorithm>
#include <array>
#include <functional>
#include <utility>

namespace ORVEN {

bool CBallList::Sort(CWorkPace& pace) {
    constexpr int digitBits = 11;
    constexpr std::size_t digitCount = std::size_t{1} << digitBits;
    constexpr std::int64_t unitsPerBall = 8;
    constexpr std::size_t few = 1 << 14;
    if (m_size <= few) {
        std::ranges::sort(m_balls.get(), m_balls.get() + m_size, std::ranges::greater(),
                          &StBall::squaredRadius);
        return !pace.Add(static_cast<std::int64_t>(m_size) * 64);
    }
    const std::int32_t greatest = std::ranges::max(Balls(), {}, &StBall::squaredRadius).squaredRadius;
    // Radix sort, which can be cancelled at any time.
    auto sorted = std::make_unique_for_overwrite<StBall[]>(m_size);
    for (int shift = 0; greatest >> shift > 0; shift += digitBits) {
        const auto digitOf = [greatest, shift](const StBall& ball) {
            return static_cast<std::size_t>(greatest - ball.squaredRadius) >> shift & (digitCount - 1);
        };
        std::array<std::size_t, digitCount> places{};
        const auto forEach = [&](const auto& body) {
            return ForEachPiece(static_cast<std::int64_t>(m_size), unitsPerBall, pace,
                                [&](std::int64_t first, std::int64_t end) {
                                    std::for_each(m_balls.get() + first, m_balls.get() + end, body);
                                });
        };
        if (!forEach([&](const StBall& ball) { ++places[digitOf(ball)]; }))
            return false;
        std::size_t place = 0;
        for (std::size_t& next : places)
            next = std::exchange(place, place + next);
        if (!forEach([&](const StBall& ball) { sorted[places[digitOf(ball)]++] = ball; }))
            return false;
        m_balls.swap(sorted);
    }
    return true;
}

CBallList SortedCandidates(const StBalls& balls, std::int32_t leastExcluded, CWorkPace& pace) {
    const CLayerView<const std::int32_t>& distances = balls.distances;
    // Pages that no ball is written to cost nothing, so that room for all candidates can be reserved.
    CBallList list(balls.candidates.Count());
    distances.ForEachRow(0, distances.nz, 4, pace, [&](std::int64_t y, std::int64_t z) {
        const std::int32_t* const row = distances.Row(y, z);
        balls.candidates.ForEach(distances.RowNumber(y, z), 0, distances.nx - 1, [&](std::int64_t x) {
            if (row[x] > leastExcluded)
                list.Append({static_cast<float>(x), static_cast<float>(y), static_cast<float>(z), row[x]});
        });
    });
    if (!pace.IsCancelled())
        (void)list.Sort(pace);
    return list;
}

} // namespace ORVEN
