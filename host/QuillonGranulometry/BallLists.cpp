#include "QuillonGranulometry/BallLists.h"

#include <QuillonBase/AvailableMemory.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <iterator>
#include <utility>
#include <vector>

namespace ORVEN {

bool CBallList::Sort(CWorkPace& pace) {
    constexpr int digitBits = 11;
    constexpr std::size_t digitCount = std::size_t{1} << digitBits;
    constexpr std::int64_t unitsPerBall = 8;
    constexpr std::size_t few = 1 << 14;
    if (m_size <= few) {
        std::ranges::sort(m_balls.get(), m_balls.get() + m_size, std::ranges::greater(),
                          &StPlacedBall::squaredRadius);
        return !pace.Add(static_cast<std::int64_t>(m_size) * 64);
    }
    // In 64 bits, from which all digits can be shifted out.
    const std::int64_t greatest = std::ranges::max(Balls(), {}, &StPlacedBall::squaredRadius).squaredRadius;
    // Radix sort, which can be cancelled at any time.
    auto sorted = std::make_unique_for_overwrite<StPlacedBall[]>(m_size);
    for (int shift = 0; greatest >> shift > 0; shift += digitBits) {
        const auto digitOf = [greatest, shift](const StPlacedBall& ball) {
            return static_cast<std::size_t>(greatest - ball.squaredRadius) >> shift & (digitCount - 1);
        };
        std::array<std::size_t, digitCount> places{};
        const auto forEach = [&](const auto& body) {
            return ForEachPiece(static_cast<std::int64_t>(m_size), unitsPerBall, pace,
                                [&](std::int64_t first, std::int64_t end) {
                                    std::for_each(m_balls.get() + first, m_balls.get() + end, body);
                                });
        };
        if (!forEach([&](const StPlacedBall& ball) { ++places[digitOf(ball)]; }))
            return false;
        std::size_t place = 0;
        for (std::size_t& next : places)
            next = std::exchange(place, place + next);
        if (!forEach([&](const StPlacedBall& ball) { sorted[places[digitOf(ball)]++] = ball; }))
            return false;
        m_balls.swap(sorted);
    }
    return true;
}

CBallList SortedLargeBalls(StBalls& balls, CWorkPace& pace) {
    std::size_t count = 0;
    for (const std::vector<StPlacedBall>& ofBlock : balls.large)
        count += ofBlock.size();
    // The blocks are freed while the list is filled, which makes room for sorting it and for the copies of
    // the balls of a box.
    RequireMemory("SortedLargeBalls", "The list of balls",
                  static_cast<std::int64_t>(count * (sizeof(StPlacedBall) + sizeof(std::uint32_t))));
    CBallList list(count);
    for (std::vector<StPlacedBall>& ofBlock : balls.large) {
        list.Append(ofBlock);
        const auto units = 4 * std::ssize(ofBlock) + 4;
        ofBlock = {};
        if (pace.Add(units))
            return list;
    }
    (void)list.Sort(pace);
    return list;
}

} // namespace ORVEN
