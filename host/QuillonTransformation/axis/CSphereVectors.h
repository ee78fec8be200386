#pragma once

#include <QuillonBase/CWorkPace.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace ORVEN {

/// A vector of the pixel grid, reduced by the symmetries of the grid: a >= b >= c >= 0.
struct StSortedVector {
    std::int16_t a;
    std::int16_t b;
    std::int16_t c;

    [[nodiscard]] constexpr std::int32_t SquaredLength() const { return a * a + b * b + c * c; }
    friend constexpr bool operator==(const StSortedVector&, const StSortedVector&) = default;
};

/// All sorted vectors up to a squared length, the reach, ordered by length: the lattice points of every
/// sphere.
///
/// Vectors of equal length are ordered by descending a, then b. There are about 0.087 reach^1.5 of them, 6
/// bytes each.
class CSphereVectors {
public:
    static constexpr std::int32_t c_greatestReach = 1 << 20;

    /// Computes the vectors up to a squared length from 0 to `c_greatestReach`.
    explicit CSphereVectors(std::int32_t reach);
    /// The same; empty if cancelled.
    [[nodiscard]] static std::optional<CSphereVectors> Find(std::int32_t reach, CWorkPace& pace);
    /// The memory in bytes while vectors up to a squared length are computed, to within a few percent.
    [[nodiscard]] static std::int64_t BytesFor(std::int32_t reach);
    /// Takes over existing tables: `starts[r]` to `starts[r + 1]` are the indices of the vectors of squared
    /// length r. They must be equal to those that the other constructor computes.
    CSphereVectors(std::vector<std::uint32_t> starts, std::vector<StSortedVector> vectors);

    [[nodiscard]] std::int32_t Reach() const { return static_cast<std::int32_t>(m_starts.size()) - 2; }
    [[nodiscard]] std::span<const std::uint32_t> Starts() const { return m_starts; }
    [[nodiscard]] std::span<const StSortedVector> All() const { return m_vectors; }
    /// The vectors of one squared length, 0 to the reach. Empty for numbers that are not a sum of three
    /// squares.
    [[nodiscard]] std::span<const StSortedVector> OfLength(std::int32_t squaredLength) const {
        const std::size_t begin = m_starts[static_cast<std::size_t>(squaredLength)];
        const std::size_t end = m_starts[static_cast<std::size_t>(squaredLength) + 1];
        return std::span(m_vectors).subspan(begin, end - begin);
    }

private:
    CSphereVectors() = default;
    bool Fill(std::int32_t reach, CWorkPace& pace);

    std::vector<std::uint32_t> m_starts;
    std::vector<StSortedVector> m_vectors;
};

/// The image of a vector that is sorted; there is exactly one.
inline StSortedVector SortedImageOf(std::int32_t x, std::int32_t y, std::int32_t z) {
    auto a = static_cast<std::int16_t>(std::abs(x));
    auto b = static_cast<std::int16_t>(std::abs(y));
    auto c = static_cast<std::int16_t>(std::abs(z));
    if (a < b)
        std::swap(a, b);
    if (b < c)
        std::swap(b, c);
    if (a < b)
        std::swap(a, b);
    return {a, b, c};
}

/// Calls `body(x, y, z)` once for each distinct permutation of a sorted vector's components, until a call
/// returns false. Returns true if no call did.
template <class Body>
bool ForEachArrangement(const StSortedVector& vector, const Body& body) {
    const auto [a, b, c] = vector;
    const bool isTopPair = a == b;
    const bool isBottomPair = b == c;
    return body(a, b, c) && (isBottomPair || (body(a, c, b) && body(c, a, b))) &&
           (isTopPair || (body(b, a, c) && body(b, c, a))) && (isTopPair || isBottomPair || body(c, b, a));
}

/// The same for the images under the 48 symmetries of the grid.
template <class Body>
bool ForEachImage(const StSortedVector& vector, const Body& body) {
    return ForEachArrangement(vector, [&body](int x, int y, int z) {
        for (int signZ = z != 0 ? -1 : 1; signZ <= 1; signZ += 2) {
            for (int signY = y != 0 ? -1 : 1; signY <= 1; signY += 2) {
                for (int signX = x != 0 ? -1 : 1; signX <= 1; signX += 2) {
                    if (!body(signX * x, signY * y, signZ * z))
                        return false;
                }
            }
        }
        return true;
    });
}

} // namespace ORVEN
