#pragma once

#include <QuillonBase/VectorDispatch.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

/// The two inner loops of the medial axis, which work on rows of numbers with the vector instructions of the
/// processor.
namespace ORVEN {

/// Rows of squared distances around a row, and the limits that they are compared with.
struct StRowNeighborhood {
    /// The row itself, its four face neighbours and its four edge neighbours.
    std::array<const std::int32_t*, 9> rows;
    /// The values that a distance one, two and three steps away must reach to cover a pixel of the row.
    std::array<const std::int32_t*, 3> limits;
};

/// Makes up for rounding errors where floats show what is out of reach: nothing that is within reach is lost.
inline constexpr float c_roundingMargin = 1.0F - 0x1p-20F;

/// What limits the distances D at the pixels x + v for a list of vectors v: sqrt(D(x + v)) is at most
/// sqrt(D(x + e)) + |v - e| for every e.
struct StReach {
    std::int32_t distance; ///< D(x)
    /// The greatest sqrt(D) one step away from x along one, two and three axes.
    std::array<float, 3> roots;
    /// For each v, its distances to the nearest of these three kinds of neighbours.
    std::array<const float*, 3> rests;
    const std::int32_t* squares; ///< |v|^2

    /// The same for the vectors from a place in the list on.
    [[nodiscard]] StReach From(std::size_t first) const {
        return {distance, roots, {rests[0] + first, rests[1] + first, rests[2] + first}, squares + first};
    }
};

namespace Impl {

inline void FindCoveredInPiece(const StRowNeighborhood& around, std::uint8_t* __restrict isCovered,
                               std::int64_t first, std::int64_t count) {
    const auto [row, face0, face1, face2, face3, edge0, edge1, edge2, edge3] = around.rows;
    const auto [oneStep, twoSteps, threeSteps] = around.limits;
    for (std::int64_t i = 0; i < count; ++i) {
        const std::int64_t x = first + i;
        const std::int32_t one = oneStep[x];
        const std::int32_t two = twoSteps[x];
        const std::int32_t three = threeSteps[x];
        const auto middle = [x](const std::int32_t* neighbors, std::int32_t limit) {
            return neighbors[x] >= limit ? 1 : 0;
        };
        const auto sides = [x](const std::int32_t* neighbors, std::int32_t limit) {
            return (neighbors[x - 1] >= limit ? 1 : 0) | (neighbors[x + 1] >= limit ? 1 : 0);
        };
        const int any = sides(row, one) | //
                        middle(face0, one) | middle(face1, one) | middle(face2, one) | middle(face3, one) |
                        sides(face0, two) | sides(face1, two) | sides(face2, two) | sides(face3, two) |
                        middle(edge0, two) | middle(edge1, two) | middle(edge2, two) | middle(edge3, two) |
                        sides(edge0, three) | sides(edge1, three) | sides(edge2, three) | sides(edge3, three);
        isCovered[x] = static_cast<std::uint8_t>(any);
    }
}

inline void FindCoveredByNearest(const StRowNeighborhood& around, std::uint8_t* isCovered, std::int64_t begin,
                                 std::int64_t end) {
    // Pieces of a constant length fill the registers. The last one overlaps with the one before.
    constexpr std::int64_t length = 64;
    if (end - begin < length)
        return FindCoveredInPiece(around, isCovered, begin, end - begin);
    for (std::int64_t first = begin; first + length < end; first += length)
        FindCoveredInPiece(around, isCovered, first, length);
    FindCoveredInPiece(around, isCovered, end - length, length);
}

inline std::uint8_t SelectReachable(const StReach& reach, const std::uint16_t* excesses,
                                    std::uint8_t* __restrict isSelected, std::size_t count) {
    const auto [rest0, rest1, rest2] = reach.rests;
    const auto [root0, root1, root2] = reach.roots;
    const std::int32_t* const squares = reach.squares;
    const std::int32_t distance = reach.distance;
    std::uint8_t any = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const float most = std::min(std::min(root0 + rest0[i], root1 + rest1[i]), root2 + rest2[i]);
        const auto limit = static_cast<float>(distance + squares[i] + excesses[i]);
        const std::uint8_t selected = most * most >= limit * c_roundingMargin ? 1 : 0;
        isSelected[i] = selected;
        any |= selected;
    }
    return any;
}

} // namespace Impl

/// Marks the pixels of a row, from `begin` to one before `end`, that one of the 26 neighbours covers. All
/// rows are read one position further on both sides.
inline void FindCoveredByNearest(Impl::EnVectors vectors, const StRowNeighborhood& around,
                                 std::uint8_t* isCovered, std::int64_t begin, std::int64_t end) {
    Impl::RunFor(vectors, [&] { Impl::FindCoveredByNearest(around, isCovered, begin, end); });
}

/// Marks the vectors v for which D(x + v) can reach |v|^2 + D(x) + the excess, and perhaps some more. Returns
/// whether there is one.
inline bool SelectReachable(Impl::EnVectors vectors, const StReach& reach, const std::uint16_t* excesses,
                            std::uint8_t* isSelected, std::size_t count) {
    std::uint8_t any = 0;
    Impl::RunFor(vectors, [&] { any = Impl::SelectReachable(reach, excesses, isSelected, count); });
    return any != 0;
}

} // namespace ORVEN
