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
        return IsReachedFrom(m_distances.Row(y, z) + x);
    }

private:
    static constexpr std::int64_t c_reach = 2;
    static constexpr std::int64_t c_lanes = 8;
    using Integers [[gnu::vector_size(c_lanes * sizeof(std::int32_t))]] = std::int32_t;

    /// Whether one of the farther balls around a pixel reaches the limit.
    [[nodiscard]] bool IsReachedFrom(const std::int32_t* pixel) const {
        constexpr std::int32_t never = std::numeric_limits<std::int32_t>::max();
        const std::int32_t shortest = m_limits.At(3, *pixel); // for vectors like 2, 1, 0
        const std::int32_t middle = m_limits.At(4, *pixel);   // 2, 1, 1
        const std::int32_t longest = m_limits.At(5, *pixel);  // 2, 2, 1
        // For the pixels from x - 2 on of the rows at the distances y and z. All bits set in `never` stay
        // set.
        const Integers rows10 = Integers{0, never, never, never, 0, never, never, never} | shortest;
        const Integers rows11 = Integers{0, never, never, never, 0, never, never, never} | middle;
        const Integers rows20 = Integers{never, 0, never, 0, never, never, never, never} | shortest;
        const Integers rows22 = Integers{never, 0, never, 0, never, never, never, never} | longest;
        const Integers rows21{longest, middle, shortest, middle, longest, never, never, never};
        Integers isReached{};
        const auto test = [&](std::int64_t offset, const Integers& limits) {
            Integers before;
            Integers after;
            std::memcpy(&before, pixel - offset - c_reach, sizeof(before));
            std::memcpy(&after, pixel + offset - c_reach, sizeof(after));
            isReached |= (before >= limits) | (after >= limits);
        };
        const std::int64_t y = m_rowStride;
        const std::int64_t z = m_layerStride;
        test(y, rows10);
        test(z, rows10);
        test(z + y, rows11);
        test(z - y, rows11);
        if (IsAnySet(isReached))
            return true;
        test(2 * y, rows20);
        test(2 * z, rows20);
        test(z + 2 * y, rows21);
        test(z - 2 * y, rows21);
        test(2 * z + y, rows21);
        test(2 * z - y, rows21);
        test(2 * z + 2 * y, rows22);
        test(2 * z - 2 * y, rows22);
        return IsAnySet(isReached);
    }

    static bool IsAnySet(const Integers& mask) {
        std::array<std::int64_t, 4> words{};
        std::memcpy(words.data(), &mask, sizeof(mask));
        return (words[0] | words[1] | words[2] | words[3]) != 0;
    }

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
        CopyRowsAround(y, z);
        // The row, then its face neighbours, then its edge neighbours.
        constexpr std::array<std::array<int, 2>, 9> offsets{
            {{0, 0}, {0, -1}, {-1, 0}, {1, 0}, {0, 1}, {-1, -1}, {1, -1}, {-1, 1}, {1, 1}}};
        StRowNeighborhood around{};
        for (std::size_t i = 0; i < offsets.size(); ++i)
            around.rows[i] = RowAround(y + offsets[i][0], offsets[i][1]).data();
        for (std::size_t i = 0; i < m_limits.size(); ++i) {
            LookUpLimits(i, distances);
            around.limits[i] = m_limits[i].data();
        }
        FindCoveredByNearest(m_vectors, around, m_isCovered.data(), 1, nx + 1);
        Impl::RunFor(m_vectors, [&] {
            // Copies of the pointers: stores to bytes could be to this object, for all that the compiler
            // knows.
            const std::uint8_t* const isCovered = m_isCovered.data() + 1;
            std::uint8_t* const __restrict isCandidate = m_isCandidate.data();
            for (std::int64_t x = 0; x < nx; ++x) {
                const bool isCandidatePixel = distances[x] > 0 && isCovered[x] == 0;
                isCandidate[x] = isCandidatePixel ? 1 : 0;
            }
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
            for (std::int64_t first = 0; first < nx; first += c_wordBits) {
                const std::int64_t end = std::min(first + c_wordBits, nx);
                std::int32_t any = 0;
                for (std::int64_t x = first; x < end; ++x)
                    any |= distances[x];
                // Outside the structure, nothing is compared with the limits.
                for (std::int64_t x = first; any != 0 && x < end; ++x)
                    limits[x] = table[distances[x]];
            }
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

    /// Copies the rows around a row, except those that are left from the row before.
    void CopyRowsAround(std::int64_t y, std::int64_t z) {
        const bool isNext = z == m_z && y == m_y + 1;
        for (const int offsetZ : {-1, 0, 1}) {
            for (std::int64_t rowY = isNext ? y + 1 : y - 1; rowY <= y + 1; ++rowY)
                CopyRow(rowY, z + offsetZ, RowAround(rowY, offsetZ));
        }
        m_y = y;
        m_z = z;
    }
    std::vector<std::int32_t>& RowAround(std::int64_t y, int offsetZ) {
        return m_rows[static_cast<std::size_t>(3 * (offsetZ + 1) + (y + 3) % 3)];
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
    std::int64_t m_y = -2; ///< the row that the rows around were copied for
    std::int64_t m_z = -2;
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
    // Rows around a row are read several times. In blocks, they stay in the cache.
    const CLayerView<const std::int32_t>& distances = balls.distances;
    constexpr std::int64_t rowsOfBlock = 32;
    const std::int64_t layersOfBlock = std::max<std::int64_t>(distances.LayersPerItem(), 32);
    const std::int64_t blocksAlongY = (distances.ny + rowsOfBlock - 1) / rowsOfBlock;
    const std::int64_t itemCount = blocksAlongY * ((distances.nz + layersOfBlock - 1) / layersOfBlock);
    progress.Start(static_cast<unsigned>(itemCount), "maximal balls");
    const bool isDone = ParallelForAtPace(itemCount, progress, [&] {
        return [&, search = CRowSearch(balls, limits)](std::int64_t item, CWorkPace& paceOfItem) mutable {
            const std::int64_t firstY = item % blocksAlongY * rowsOfBlock;
            const std::int64_t firstZ = item / blocksAlongY * layersOfBlock;
            for (std::int64_t z = firstZ; z < std::min(firstZ + layersOfBlock, distances.nz); ++z) {
                for (std::int64_t y = firstY; y < std::min(firstY + rowsOfBlock, distances.ny); ++y) {
                    search.FindIn(y, z);
                    if (paceOfItem.Add(32 * distances.nx + 16))
                        return;
                }
            }
        };
    });
    progress.Finish();
    return isDone;
}

} // namespace ORVEN
