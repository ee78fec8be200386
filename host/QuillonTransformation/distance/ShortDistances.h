#pragma once

#include "QuillonTransformation/distance/EnSeeds.h"

#include <QuillonBase/CWorkPace.h>
#include <QuillonBase/LineBlocks.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <vector>

/// Distances below 127 pixels, many at once. Everything is inline, so that it is compiled for the vector
/// instructions of the processor that it runs on; see `QuillonBase/SeparablePasses.h`.
namespace ORVEN {

/// Distances from this value on are not distinguished; it means "this far or farther".
inline constexpr int c_farDistance = 127;

/// Number of neighbouring lines that are processed at once.
inline constexpr std::int64_t c_shortLanes = 32;

/// Distances along a row to the nearest seed of the row.
///
/// Each position takes the minimum with the positions 1, 2, 4, ... away in turn: every distance is a sum of
/// such steps, and each step is the same for all positions.
class CShortRow {
public:
    CShortRow(std::int64_t length, bool isOutsideSeed)
        : m_length(length)
        , m_now(Empty(length, isOutsideSeed))
        , m_next(m_now) {}

    /// Measures the distances to the seeds among the pixels, exactly up to `greatest`, which must be below
    /// `c_farDistance`. Larger distances may be stored as `c_farDistance`. Returns whether any position has
    /// that value.
    bool Measure(const unsigned char* pixels, EnSeeds seeds, int greatest) {
        const unsigned char value = seeds == EnSeeds::ONES ? 1 : 0;
        const bool isSeed = seeds != EnSeeds::NON_ZEROS;
        unsigned char* const __restrict first = Places(m_now);
        const std::int64_t length = m_length; // a local copy: bytes could alias the member
        for (std::int64_t x = 0; x < length; ++x)
            first[x] = (pixels[x] == value) == isSeed ? 0 : c_farDistance;
        int farthest = c_farDistance;
        for (int step = 1; step <= greatest && farthest >= step; step *= 2)
            farthest = Learn(step);
        return farthest == c_farDistance;
    }

    [[nodiscard]] const unsigned char* Distances() const { return m_now[1].items; }

private:
    struct alignas(64) StCacheLine {
        unsigned char items[64];
    };

    /// The positions, with one cache line before and one or more after them.
    using Row = std::vector<StCacheLine>;

    /// Length of the longest step, which must not lead out of the row.
    static constexpr std::int64_t c_margin = sizeof(StCacheLine);

    static Row Empty(std::int64_t length, bool isOutsideSeed) {
        Row row(static_cast<std::size_t>(length / c_margin + 3));
        for (StCacheLine& line : row)
            std::fill_n(line.items, c_margin, static_cast<unsigned char>(c_farDistance));
        if (isOutsideSeed) {
            Places(row)[-1] = 0;
            Places(row)[length] = 0;
        }
        return row;
    }

    static unsigned char* Places(Row& row) { return row[1].items; }

    /// Returns the largest distance.
    int Learn(int step) {
        const unsigned char* const now = Places(m_now);
        unsigned char* const __restrict next = Places(m_next);
        const std::int64_t length = m_length; // a local copy: bytes could alias the member
        unsigned char farthest = 0;
        for (std::int64_t x = 0; x < length; ++x) {
            const auto other = static_cast<unsigned char>(std::min(now[x - step], now[x + step]) + step);
            next[x] = std::min(now[x], other);
            farthest = std::max(farthest, next[x]);
        }
        m_now.swap(m_next);
        return farthest;
    }

    std::int64_t m_length;
    Row m_now;
    Row m_next;
};

/// Squared distances along one axis, for `c_shortLanes` neighbouring lines at once, as 16-bit integers in
/// pixels or as doubles in any unit.
///
/// For one k after another, each position takes the minimum of the values k positions away plus the square of
/// that distance. Once the square is at least as large as all values of a block, none of them can decrease
/// any more, so the amount of work depends on the distances that occur.
template <class Number>
class CShortLines {
public:
    /// With `isOutsideSeed`, there are seeds just beyond both ends. The weight is the square of the pixel
    /// length; it must be 1 for integers.
    CShortLines(std::int64_t length, bool isOutsideSeed, Number weight)
        : m_length(length)
        , m_reach(std::min<std::int64_t>(length, c_farDistance - 1))
        , m_weight(weight)
        , m_values(length, Margin())
        , m_results(length) {
        m_values.Fill(TooFar());
        m_results.Fill(0);
        if (isOutsideSeed) {
            std::fill_n(Values(-1), c_shortLanes, Number{0});
            std::fill_n(Values(length), c_shortLanes, Number{0});
        }
    }

    /// Represents all values that are not below it.
    [[nodiscard]] Number TooFar() const {
        if constexpr (std::is_integral_v<Number>)
            return c_farDistance * c_farDistance + 1;
        else
            return std::numeric_limits<Number>::infinity();
    }

    /// The values at one position of all lines, to be filled in by the caller.
    [[nodiscard]] Number* Values(std::int64_t place) { return m_values.Row(place); }

    /// Computes the results and returns whether none is farther than `c_farDistance` pixels. Otherwise, and
    /// if cancelled, it stops early.
    bool Minimize(CWorkPace& pace) {
        for (std::int64_t stretch = 0; stretch < m_length; stretch += c_stretchLength) {
            const std::int64_t end = std::min(stretch + c_stretchLength, m_length);
            std::int64_t looks = 0;
            for (std::int64_t place = stretch; place < end; place += c_blockLength) {
                if (!MinimizeBlock(place, std::min(c_blockLength, end - place), looks))
                    return false;
            }
            if (pace.Add(looks * c_unitsPerLook))
                return false;
        }
        return true;
    }

    [[nodiscard]] const Number* Results(std::int64_t place) const { return m_results.Row(place); }

    /// Clears the lanes of a block that has fewer lines, so that they take no part.
    void ClearLanesFrom(std::int64_t count) {
        for (std::int64_t place = 0; count < c_shortLanes && place < m_length; ++place)
            std::fill(Values(place) + count, Values(place) + c_shortLanes, Number{0});
    }

private:
    /// Collects the signs of differences, which is faster than comparisons, and than an extremum of doubles.
    using Mask = std::conditional_t<std::is_integral_v<Number>, Number, std::int64_t>;

    static constexpr std::int64_t c_blockLength = 8;
    /// Number of positions between two reports of work.
    static constexpr std::int64_t c_stretchLength = 32 * c_blockLength;
    static constexpr std::int64_t c_unitsPerLook = 3 * c_blockLength * c_shortLanes;

    /// Number of positions read beyond the ends: steps come in pairs and may exceed the reach by one.
    [[nodiscard]] std::int64_t Margin() const { return m_reach + 1; }

    [[nodiscard]] Number Square(std::int64_t distance) const {
        return static_cast<Number>(m_weight * static_cast<Number>(distance * distance));
    }

    /// Counts the calls of `LookAside` in `looks`.
    bool MinimizeBlock(std::int64_t place, std::int64_t count, std::int64_t& looks) {
        const Number* const values = Values(place);
        Number* const results = m_results.Row(place);
        const std::int64_t size = count * c_shortLanes;
        if (!IsAnyAbove(values, size, m_weight)) {
            std::copy_n(values, size, results);
            return true;
        }
        bool canBeLess = LookAside(values, values, results, size, 1);
        std::int64_t k = 3;
        for (; canBeLess && k <= m_reach; k += 2)
            canBeLess = LookAside(values, results, results, size, k);
        looks += k / 2;
        return !canBeLess || !IsAnyAbove(results, size, Square(c_farDistance));
    }

    static bool IsAnyAbove(const Number* values, std::int64_t size, Number limit) {
        Mask isAbove = 0;
        for (std::int64_t i = 0; i < size; ++i)
            isAbove |= std::bit_cast<Mask>(static_cast<Number>(limit - values[i]));
        return isAbove < 0;
    }

    /// Takes the values k and k + 1 positions away into account. Returns whether any result is larger than
    /// the square that k + 2 positions add.
    bool LookAside(const Number* values, const Number* soFar, Number* results, std::int64_t size,
                   std::int64_t k) const {
        const std::int64_t near = k * c_shortLanes;
        const std::int64_t far = near + c_shortLanes;
        const Number nearSquare = Square(k);
        const Number farSquare = Square(k + 1);
        const Number nextSquare = Square(k + 2);
        Mask isAbove = 0;
#pragma GCC ivdep // the results may alias `soFar`, at the same position
        for (std::int64_t i = 0; i < size; ++i) {
            const auto nearest =
                static_cast<Number>(std::min(values[i - near], values[i + near]) + nearSquare);
            const auto next = static_cast<Number>(std::min(values[i - far], values[i + far]) + farSquare);
            results[i] = std::min(soFar[i], std::min(nearest, next));
            isAbove |= std::bit_cast<Mask>(static_cast<Number>(nextSquare - results[i]));
        }
        return isAbove < 0;
    }

    std::int64_t m_length;
    std::int64_t m_reach;
    Number m_weight;
    CLineBlock<Number, c_shortLanes> m_values;
    CLineBlock<Number, c_shortLanes> m_results;
};

} // namespace ORVEN
