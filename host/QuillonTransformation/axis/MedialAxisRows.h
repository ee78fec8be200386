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

inline std::uint8_t SelectOpposite(const std::array<std::int16_t, 3>& w,
                                   const std::array<const std::int16_t*, 3>& components,
                                   const std::uint16_t* excesses, std::uint8_t* __restrict isSelected,
                                   std::size_t count) {
    const auto [a, b, c] = components;
    std::uint8_t any = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::int32_t product = w[0] * a[i] + w[1] * b[i] + w[2] * c[i];
        const std::uint8_t selected = product >= excesses[i] ? 1 : 0;
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

/// Marks the vectors v for which the product of w and v reaches the excess. Returns whether there is one.
inline bool SelectOpposite(Impl::EnVectors vectors, const std::array<std::int16_t, 3>& w,
                           const std::array<const std::int16_t*, 3>& components,
                           const std::uint16_t* excesses, std::uint8_t* isSelected, std::size_t count) {
    std::uint8_t any = 0;
    Impl::RunFor(vectors, [&] { any = Impl::SelectOpposite(w, components, excesses, isSelected, count); });
    return any != 0;
}

} // namespace ORVEN
