#pragma once

#include "QuillonTransformation/EnSeeds.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

/// Squared distances below 127 pixels, in narrow integers and many lines at once. Everything is inline: it is
/// compiled for the vectors of the processor that it runs on, see `SeparablePasses.h`.
namespace ORVEN {

/// Distances from here on are not told from one another: "so far or farther".
inline constexpr int c_farDistance = 127;
inline constexpr std::int16_t c_farSquare = c_farDistance * c_farDistance;

/// Rows of narrow integers begin with one, so that wide vectors do not straddle two.
template <class T>
struct alignas(64) StCacheLine {
    T items[64 / sizeof(T)];
};

/// Distances along a row to the nearest seed of the row.
///
/// A place learns from those 1, 2, 4 ... away in turn: every distance is a sum of such steps, and each step
/// is the same for all places.
class CShortRow {
public:
    CShortRow(std::int64_t length, bool outsideIsSeed)
        : m_length(length)
        , m_now(Empty(length, outsideIsSeed))
        , m_next(m_now) {}

    /// Measures the distances to the seeds among the pixels, exactly up to `greatest`, which is below
    /// `c_farDistance`. What is farther away may be at `c_farDistance`. Returns whether any place is.
    bool Measure(const unsigned char* pixels, EnSeeds seeds, int greatest) {
        const unsigned char value = seeds == EnSeeds::Ones ? 1 : 0;
        const bool isSeed = seeds != EnSeeds::NonZeros;
        unsigned char* const __restrict first = Places(m_now);
        const std::int64_t length = m_length; // bytes could be a part of the member
        for (std::int64_t x = 0; x < length; ++x)
            first[x] = (pixels[x] == value) == isSeed ? 0 : c_farDistance;
        int farthest = c_farDistance;
        for (int step = 1; step <= greatest && farthest >= step; step *= 2)
            farthest = Learn(step);
        return farthest == c_farDistance;
    }

    [[nodiscard]] const unsigned char* Distances() const { return m_now[1].items; }

private:
    /// The places, with a cache line before and one or more after them.
    using Row = std::vector<StCacheLine<unsigned char>>;

    /// The longest step, which must not lead out of the row.
    static constexpr std::int64_t c_margin = sizeof(Row::value_type);

    static Row Empty(std::int64_t length, bool outsideIsSeed) {
        Row row(static_cast<std::size_t>(length / c_margin + 3));
        for (auto& line : row)
            std::fill_n(line.items, c_margin, static_cast<unsigned char>(c_farDistance));
        if (outsideIsSeed) {
            Places(row)[-1] = 0;
            Places(row)[length] = 0;
        }
        return row;
    }

    static unsigned char* Places(Row& row) { return row[1].items; }

    /// Returns the greatest distance.
    int Learn(int step) {
        const unsigned char* const now = Places(m_now);
        unsigned char* const __restrict next = Places(m_next);
        const std::int64_t length = m_length; // bytes could be a part of the member
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

/// Squared distances along one axis, for `c_lanes` neighbouring lines at once.
///
/// Each place takes the least of what the places k away have, plus k^2, for one k after the other. As soon as
/// k^2 is no less than all values of a block, none of them can become less: the work goes with the distances
/// that there are.
class CShortLines {
public:
    static constexpr std::int64_t c_lanes = sizeof(StCacheLine<std::int16_t>) / sizeof(std::int16_t);

    /// With `outsideIsSeed` there are seeds just beyond both ends.
    CShortLines(std::int64_t length, bool outsideIsSeed)
        : m_length(length)
        , m_reach(std::min<std::int64_t>(length, c_farDistance - 1))
        , m_values(static_cast<std::size_t>(length + 2 * Margin()))
        , m_results(static_cast<std::size_t>(length)) {
        for (Lanes& place : m_values)
            std::fill_n(place.items, c_lanes, c_farSquare);
        if (outsideIsSeed) {
            std::fill_n(Values(-1), c_lanes, std::int16_t{0});
            std::fill_n(Values(length), c_lanes, std::int16_t{0});
        }
    }

    /// The values at a place of all lines, 0 to `c_farSquare`, to be filled in.
    [[nodiscard]] std::int16_t* Values(std::int64_t place) {
        return m_values[static_cast<std::size_t>(Margin() + place)].items;
    }

    /// Fills in the results and returns whether all of them are below `c_farSquare`. If not it stops early.
    bool Minimize() {
        for (std::int64_t place = 0; place < m_length; place += c_blockLength) {
            if (MinimizeBlock(place, std::min(c_blockLength, m_length - place)) >= c_farSquare)
                return false;
        }
        return true;
    }

    [[nodiscard]] const std::int16_t* Results(std::int64_t place) const {
        return m_results[static_cast<std::size_t>(place)].items;
    }

private:
    using Lanes = StCacheLine<std::int16_t>;

    static constexpr std::int64_t c_blockLength = 8;

    /// Places beyond the ends that are looked at: steps go by two and may take one too many.
    [[nodiscard]] std::int64_t Margin() const { return m_reach + 1; }

    /// Returns the greatest result.
    std::int16_t MinimizeBlock(std::int64_t place, std::int64_t count) {
        const std::int16_t* const values = Values(place);
        std::int16_t* const results = m_results[static_cast<std::size_t>(place)].items;
        const std::int64_t size = count * c_lanes;
        std::int16_t greatest = 0;
        for (std::int64_t i = 0; i < size; ++i)
            greatest = std::max(greatest, values[i]);
        if (greatest <= 1) {
            std::copy_n(values, size, results);
            return greatest;
        }
        greatest = LookAside(values, values, results, size, 1);
        for (std::int64_t k = 3; k <= m_reach && k * k < greatest; k += 2)
            greatest = LookAside(values, results, results, size, k);
        return greatest;
    }

    /// Takes what is k and k + 1 places away into account. Returns the greatest result.
    static std::int16_t LookAside(const std::int16_t* values, const std::int16_t* soFar,
                                  std::int16_t* results, std::int64_t size, std::int64_t k) {
        const std::int64_t near = k * c_lanes;
        const std::int64_t far = near + c_lanes;
        const auto nearSquare = static_cast<std::int16_t>(k * k);
        const auto farSquare = static_cast<std::int16_t>((k + 1) * (k + 1));
        std::int16_t greatest = 0;
#pragma GCC ivdep // the results may be what there was so far, at the same place
        for (std::int64_t i = 0; i < size; ++i) {
            const auto nearest =
                static_cast<std::int16_t>(std::min(values[i - near], values[i + near]) + nearSquare);
            const auto next =
                static_cast<std::int16_t>(std::min(values[i - far], values[i + far]) + farSquare);
            results[i] = std::min(soFar[i], std::min(nearest, next));
            greatest = std::max(greatest, results[i]);
        }
        return greatest;
    }

    std::int64_t m_length;
    std::int64_t m_reach;
    std::vector<Lanes> m_values;
    std::vector<Lanes> m_results;
};

} // namespace ORVEN
