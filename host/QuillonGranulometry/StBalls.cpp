#include "QuillonGranulometry/StBalls.h"

#include "QuillonGranulometry/CNearLimits.h"
#include "QuillonGranulometry/PackBits.h"

#include <QuillonBase/VectorDispatch.h>
#include <QuillonTransformation/axis/MedialAxisRows.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <limits>
#include <vector>

namespace ORVEN {

namespace {

/// Compares balls with those of pixels a little farther away than the 26 neighbours. Round objects have many
/// balls that differ by less than a pixel; most of them are found here.
class CFarTest {
public:
    /// Smaller balls are not tested: few of them would be found.
    static constexpr std::int32_t c_leastDistance = 37;

    CFarTest(const CLayerView<const std::int32_t>& distances, const CNearLimits& limits)
        : m_distances(distances)
        , m_limits(limits)
        , m_rowStride(distances.ny > 1 ? distances.Row(1, 0) - distances.Row(0, 0) : 0)
        , m_layerStride(distances.nz > 1 ? distances.Row(0, 1) - distances.Row(0, 0) : 0) {}

    /// Whether one of the farther balls contains that of a pixel. False near the border of the image.
    [[nodiscard]] bool Contains(std::int64_t x, std::int64_t y, std::int64_t z) const {
        if (x < c_reach || x + c_lanes - c_reach > m_distances.nx || y < c_reach ||
            y + c_reach >= m_distances.ny || z < c_reach || z + c_reach >= m_distances.nz)
            return false;
        const std::int32_t* const pixel = m_distances.Row(y, z) + x;
        constexpr std::int32_t never = std::numeric_limits<std::int32_t>::max();
        const std::int32_t shortest = m_limits.At(3, *pixel); // for vectors like 2, 1, 0
        const std::int32_t middle = m_limits.At(4, *pixel);   // 2, 1, 1
        const std::int32_t longest = m_limits.At(5, *pixel);  // 2, 2, 1
        // For the pixels from x - 2 on of the rows at the distances y and z.
        const Integers rows10{shortest, never, never, never, shortest, never, never, never};
        const Integers rows11{middle, never, never, never, middle, never, never, never};
        const Integers rows20{never, shortest, never, shortest, never, never, never, never};
        const Integers rows21{longest, middle, shortest, middle, longest, never, never, never};
        const Integers rows22{never, longest, never, longest, never, never, never, never};
        Integers isReached{};
        const auto test = [&](std::int64_t dy, std::int64_t dz, const Integers& limits) {
            for (const std::int64_t sy : {-dy, dy}) {
                for (const std::int64_t sz : {-dz, dz}) {
                    Integers row;
                    std::memcpy(&row, pixel + sy * m_rowStride + sz * m_layerStride - c_reach, sizeof(row));
                    isReached |= row >= limits;
                }
            }
        };
        test(1, 0, rows10);
        test(0, 1, rows10);
        test(1, 1, rows11);
        test(2, 0, rows20);
        test(0, 2, rows20);
        test(2, 1, rows21);
        test(1, 2, rows21);
        test(2, 2, rows22);
        std::array<std::int64_t, 4> words{};
        std::memcpy(words.data(), &isReached, sizeof(isReached));
        return (words[0] | words[1] | words[2] | words[3]) != 0;
    }

private:
    static constexpr std::int64_t c_reach = 2;
    static constexpr std::int64_t c_lanes = 8;
    using Integers [[gnu::vector_size(c_lanes * sizeof(std::int32_t))]] = std::int32_t;

    const CLayerView<const std::int32_t>& m_distances;
    const CNearLimits& m_limits;
    std::int64_t m_rowStride;
    std::int64_t m_layerStride;
};

class CRowSearch {
public:
    CRowSearch(StBalls& balls, const CNearLimits& limits)
        : m_balls(balls)
        , m_nearLimits(limits)
        , m_farTest(balls.distances, limits) {
        const auto paddedLength = static_cast<std::size_t>(balls.distances.nx) + 2;
        m_rows.fill(std::vector<std::int32_t>(paddedLength, 0));
        m_limits.fill(m_rows[0]);
        m_isCovered.resize(paddedLength, 1);
        m_isCandidate.resize(paddedLength + c_wordBits, 0);
    }

    void FindIn(std::int64_t y, std::int64_t z) {
        const std::int64_t nx = m_balls.distances.nx;
        const std::int32_t* const distances = m_balls.distances.Row(y, z);
        if (std::all_of(distances, distances + nx, [](std::int32_t distance) { return distance == 0; }))
            return;
        // The row, then its face neighbours, then its edge neighbours.
        constexpr std::array<std::array<int, 2>, 9> offsets{
            {{0, 0}, {0, -1}, {-1, 0}, {1, 0}, {0, 1}, {-1, -1}, {1, -1}, {-1, 1}, {1, 1}}};
        StRowNeighborhood around{};
        for (std::size_t i = 0; i < offsets.size(); ++i) {
            CopyRow(y + offsets[i][0], z + offsets[i][1], m_rows[i]);
            around.rows[i] = m_rows[i].data();
        }
        for (std::size_t i = 0; i < m_limits.size(); ++i) {
            LookUpLimits(i, distances);
            around.limits[i] = m_limits[i].data();
        }
        FindCoveredByNearest(m_vectors, around, m_isCovered.data(), 1, nx + 1);
        Impl::RunFor(m_vectors, [&] {
            for (std::int64_t x = 0; x < nx; ++x)
                m_isCandidate[static_cast<std::size_t>(x)] = static_cast<std::uint8_t>(
                    distances[x] > 0 ? 1 - m_isCovered[static_cast<std::size_t>(x) + 1] : 0);
            for (std::int64_t x = 0; x < nx; x += c_wordBits) {
                const std::uint64_t bits = PackBits(m_isCandidate.data() + x);
                if (bits != 0)
                    m_balls.candidates.Assign(m_balls.distances.RowNumber(y, z), x, Reduce(bits, x, y, z));
            }
        });
    }

private:
    static constexpr std::int64_t c_wordBits = 64;

    void LookUpLimits(std::size_t vector, const std::int32_t* distances) {
        const std::int64_t nx = m_balls.distances.nx;
        std::int32_t* const __restrict limits = m_limits[vector].data() + 1;
        const std::int32_t* const table = m_nearLimits.Table(vector);
        if (table == nullptr) {
            for (std::int64_t x = 0; x < nx; ++x)
                limits[x] = m_nearLimits.At(vector, distances[x]);
            return;
        }
        Impl::RunFor(m_vectors, [=] {
            for (std::int64_t x = 0; x < nx; ++x)
                limits[x] = table[distances[x]];
        });
    }

    /// Removes the candidates among 64 pixels that a farther ball contains.
    [[nodiscard]] std::uint64_t Reduce(std::uint64_t candidates, std::int64_t firstX, std::int64_t y,
                                       std::int64_t z) const {
        if (m_balls.dimension < 3)
            return candidates;
        const std::int32_t* const distances = m_balls.distances.Row(y, z) + firstX;
        for (std::uint64_t bits = candidates; bits != 0; bits &= bits - 1) {
            const int bit = std::countr_zero(bits);
            if (distances[bit] >= CFarTest::c_leastDistance && m_farTest.Contains(firstX + bit, y, z))
                candidates ^= std::uint64_t{1} << bit;
        }
        return candidates;
    }

    /// Copies to a row with one extra element on either side; 0 outside the image.
    void CopyRow(std::int64_t y, std::int64_t z, std::vector<std::int32_t>& copy) const {
        if (m_balls.distances.HasRow(y, z))
            std::copy_n(m_balls.distances.Row(y, z), m_balls.distances.nx, copy.begin() + 1);
        else
            std::ranges::fill(copy, 0);
    }

    StBalls& m_balls;
    const CNearLimits& m_nearLimits;
    CFarTest m_farTest;
    Impl::EnVectors m_vectors = Impl::BestVectors();
    std::array<std::vector<std::int32_t>, 9> m_rows;
    std::array<std::vector<std::int32_t>, 3> m_limits;
    std::vector<std::uint8_t> m_isCovered;
    std::vector<std::uint8_t> m_isCandidate;
};

} // namespace

bool FindCandidates(StBalls& balls, IProgress& progress) {
    CWorkPace pace(progress);
    const CNearLimits limits(balls.dimension, balls.greatestDistance, pace);
    if (pace.IsCancelled())
        return false;
    const std::int64_t thickness = balls.distances.LayersPerItem();
    const std::int64_t itemCount = (balls.distances.nz + thickness - 1) / thickness;
    progress.Start(static_cast<unsigned>(itemCount), "maximal balls");
    const bool isDone = ParallelFor(itemCount, progress, [&](CWorkerTurn& turn) {
        constexpr std::int64_t unitsPerPixel = 32;
        return [&balls, thickness, pace = CWorkPace(turn),
                search = CRowSearch(balls, limits)](std::int64_t item) mutable {
            const std::int64_t end = std::min((item + 1) * thickness, balls.distances.nz);
            balls.distances.ForEachRow(item * thickness, end, unitsPerPixel, pace,
                                       [&search](std::int64_t y, std::int64_t z) { search.FindIn(y, z); });
        };
    });
    progress.Finish();
    return isDone;
}

} // namespace ORVEN
