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

    /// Whether one of the farther balls contains that of a pixel. False near the border of the image, and for
    /// a pixel without far limits.
    [[nodiscard]] bool Contains(std::int64_t x, std::int64_t y, std::int64_t z) const {
        if (x < c_reach || x + c_lanes - c_reach > m_distances.nx || y < c_reach ||
            y + c_reach >= m_distances.ny || z < c_reach || z + c_reach >= m_distances.nz)
            return false;
        return IsReachedFrom(m_distances.Row(y, z) + x);
    }

private:
    static constexpr std::int64_t c_reach = 3;
    static constexpr std::int64_t c_lanes = 8;
    using Integers [[gnu::vector_size(c_lanes * sizeof(std::int32_t))]] = std::int32_t;

    /// Whether one of the farther balls around a pixel reaches the limit.
    [[nodiscard]] bool IsReachedFrom(const std::int32_t* pixel) const {
        const CNearLimits::FarLimits* const farLimits = m_limits.Far(*pixel);
        if (farLimits == nullptr)
            return false;
        Integers limits;
        std::memcpy(&limits, farLimits, sizeof(limits));
        const Integers never = Integers{} + std::numeric_limits<std::int32_t>::max();
        // For the pixels from x - 3 on of the rows at the distances y and z: the places of the limits, or 8
        // for a pixel that is not tested.
        const Integers rows10 = __builtin_shufflevector(limits, never, 3, 0, 8, 8, 8, 0, 3, 8);
        const Integers rows11 = __builtin_shufflevector(limits, never, 4, 1, 8, 8, 8, 1, 4, 8);
        const Integers rows20 = __builtin_shufflevector(limits, never, 8, 8, 0, 8, 0, 8, 8, 8);
        const Integers rows21 = __builtin_shufflevector(limits, never, 5, 2, 1, 0, 1, 2, 5, 8);
        const Integers rows22 = __builtin_shufflevector(limits, never, 8, 8, 2, 8, 2, 8, 8, 8);
        const Integers rows30 = __builtin_shufflevector(limits, never, 8, 8, 3, 8, 3, 8, 8, 8);
        const Integers rows31 = __builtin_shufflevector(limits, never, 8, 5, 4, 3, 4, 5, 8, 8);
        const Integers rows32 = __builtin_shufflevector(limits, never, 8, 8, 5, 8, 5, 8, 8, 8);
        Integers greatest = -never;
        const auto test = [&](std::int64_t offset, const Integers& limitsOfRow) {
            Integers before;
            Integers after;
            std::memcpy(&before, pixel - offset - c_reach, sizeof(before));
            std::memcpy(&after, pixel + offset - c_reach, sizeof(after));
            const Integers excess = (before > after ? before : after) - limitsOfRow;
            greatest = excess > greatest ? excess : greatest;
        };
        const std::int64_t y = m_rowStride;
        const std::int64_t z = m_layerStride;
        test(y, rows10);
        test(z, rows10);
        test(z + y, rows11);
        test(z - y, rows11);
        if (IsAnySet(greatest >= 0))
            return true;
        test(2 * y, rows20);
        test(2 * z, rows20);
        test(z + 2 * y, rows21);
        test(z - 2 * y, rows21);
        test(2 * z + y, rows21);
        test(2 * z - y, rows21);
        test(2 * z + 2 * y, rows22);
        test(2 * z - 2 * y, rows22);
        if (IsAnySet(greatest >= 0))
            return true;
        // In fine structures, most of the pixels farther away, which are often not in the cache, are ruled
        // out.
        if (!IsAnySet(greatest >= limits[CNearLimits::c_shortfall]))
            return false;
        test(3 * y, rows30);
        test(3 * z, rows30);
        test(z + 3 * y, rows31);
        test(z - 3 * y, rows31);
        test(3 * z + y, rows31);
        test(3 * z - y, rows31);
        test(2 * z + 3 * y, rows32);
        test(2 * z - 3 * y, rows32);
        test(3 * z + 2 * y, rows32);
        test(3 * z - 2 * y, rows32);
        return IsAnySet(greatest >= 0);
    }

    static bool IsAnySet(const Integers& mask) {
        using Bytes [[gnu::vector_size(c_lanes)]] = signed char;
        const auto bytes = __builtin_convertvector(mask, Bytes);
        std::uint64_t word = 0;
        std::memcpy(&word, &bytes, sizeof(word));
        return word != 0;
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
        const auto length = static_cast<std::size_t>(balls.distances.nx);
        m_outside.resize(length, 0);
        m_limits.fill(m_outside);
        m_isCovered.resize(length + c_wordBits, 1);
    }

    /// Finds the candidates of a block.
    void operator()(std::int64_t block, CWorkPace& pace) {
        const CSmallBalls& small = m_balls.small;
        m_smallBalls.clear();
        m_largeBalls.clear();
        m_rowEnds.clear();
        for (std::int64_t z = small.FirstLayer(block); z < small.EndLayer(block); ++z) {
            for (std::int64_t y = small.FirstRow(block); y < small.EndRow(block); ++y) {
                FindIn(y, z);
                m_rowEnds.push_back(static_cast<std::uint32_t>(m_smallBalls.size()));
                if (pace.Add(32 * m_balls.distances.nx + 16))
                    return;
            }
        }
        m_balls.small.SetBlock(block, m_smallBalls, m_rowEnds);
        m_balls.large[static_cast<std::size_t>(block)].assign(m_largeBalls.begin(), m_largeBalls.end());
    }

private:
    static constexpr std::int64_t c_wordBits = 64;

    void FindIn(std::int64_t y, std::int64_t z) {
        const std::int64_t nx = m_balls.distances.nx;
        const std::int32_t* const distances = m_balls.distances.Row(y, z);
        if (std::all_of(distances, distances + nx, [](std::int32_t distance) { return distance == 0; }))
            return;
        const StRowNeighborhood around = RowsAround(y, z);
        m_nearLimits.LookUp(m_vectors, {distances, static_cast<std::size_t>(nx)},
                            {m_limits[0].data(), m_limits[1].data(), m_limits[2].data()});
        FindCoveredByNearest(m_vectors, around, m_isCovered.data(), 1, nx - 1);
        m_isCovered[0] = IsCoveredByNearest(around, 0) ? 1 : 0;
        m_isCovered[static_cast<std::size_t>(nx) - 1] = IsCoveredByNearest(around, nx - 1) ? 1 : 0;
        Impl::RunFor(m_vectors, [this, distances, nx, y, z] {
            for (std::int64_t x = 0; x < nx; x += c_wordBits) {
                const std::uint64_t bits = Uncovered(distances + x, m_isCovered.data() + x, nx - x);
                if (bits != 0)
                    m_balls.candidates.Assign(m_balls.distances.RowNumber(y, z), x, Reduce(bits, x, y, z));
            }
        });
    }

    /// The row, then its face neighbours, then its edge neighbours. Beyond the image, all is 0.
    [[nodiscard]] StRowNeighborhood RowsAround(std::int64_t y, std::int64_t z) const {
        const auto row = [&](std::int64_t dy, std::int64_t dz) {
            return m_balls.distances.HasRow(y + dy, z + dz) ? m_balls.distances.Row(y + dy, z + dz)
                                                            : m_outside.data();
        };
        return {{row(0, 0), row(0, -1), row(-1, 0), row(1, 0), row(0, 1), //
                 row(-1, -1), row(1, -1), row(-1, 1), row(1, 1)},
                {m_limits[0].data(), m_limits[1].data(), m_limits[2].data()}};
    }

    /// The same as `FindCoveredByNearest` for a single pixel, which can be at the end of a row.
    [[nodiscard]] bool IsCoveredByNearest(const StRowNeighborhood& around, std::int64_t x) const {
        const std::int64_t nx = m_balls.distances.nx;
        for (std::size_t row = 0; row < around.rows.size(); ++row) {
            const std::size_t stepsToRow = row == 0 ? 0 : row < 5 ? 1 : 2;
            for (std::int64_t other = std::max<std::int64_t>(x - 1, 0); other <= std::min(x + 1, nx - 1);
                 ++other) {
                const std::size_t steps = stepsToRow + (other == x ? 0 : 1);
                if (steps > 0 && around.rows[row][other] >= around.limits[steps - 1][x])
                    return true;
            }
        }
        return false;
    }

    /// The first 64 pixels of the structure, or `count` if these are fewer, that are not covered.
    static std::uint64_t Uncovered(const std::int32_t* distances, const std::uint8_t* isCovered,
                                   std::int64_t count) {
        alignas(c_wordBits) std::array<std::uint8_t, c_wordBits> isCandidate{};
        const auto find = [=, &isCandidate](std::int64_t end) {
            for (std::int64_t i = 0; i < end; ++i) {
                const bool isCandidatePixel = distances[i] > 0 && isCovered[i] == 0;
                isCandidate[static_cast<std::size_t>(i)] = isCandidatePixel ? 1 : 0;
            }
        };
        // The constant number of steps takes half the time.
        if (count >= c_wordBits)
            find(c_wordBits);
        else
            find(count);
        return PackBits(isCandidate.data());
    }

    /// Removes the candidates among 64 pixels that a farther ball contains, and lists the others.
    [[nodiscard]] std::uint64_t Reduce(std::uint64_t candidates, std::int64_t firstX, std::int64_t y,
                                       std::int64_t z) {
        const bool isFarTested = m_balls.dimension > 2;
        const std::int32_t* const distances = m_balls.distances.Row(y, z) + firstX;
        for (std::uint64_t bits = candidates; bits != 0; bits &= bits - 1) {
            const int bit = std::countr_zero(bits);
            const std::int32_t distance = distances[bit];
            const std::int64_t x = firstX + bit;
            if (distance <= c_greatestSmallBall)
                m_smallBalls.emplace_back(x, distance);
            else if (isFarTested && distance >= CFarTest::c_leastDistance && m_farTest.Contains(x, y, z))
                candidates ^= std::uint64_t{1} << bit;
            else
                m_largeBalls.push_back(
                    {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z), distance});
        }
        return candidates;
    }

    StBalls& m_balls;
    const CNearLimits& m_nearLimits;
    CFarTest m_farTest;
    Impl::EnVectors m_vectors = Impl::BestVectors();
    std::vector<std::int32_t> m_outside; ///< a row beyond the image
    std::array<std::vector<std::int32_t>, 3> m_limits;
    std::vector<std::uint8_t> m_isCovered;
    std::vector<CSmallBall> m_smallBalls; ///< of the block so far
    std::vector<StPlacedBall> m_largeBalls;
    std::vector<std::uint32_t> m_rowEnds;
};

} // namespace

bool FindCandidates(StBalls& balls, IProgress& progress) {
    CWorkPace pace(progress);
    const CNearLimits limits(balls.dimension, balls.greatestDistance, pace);
    if (pace.IsCancelled())
        return false;
    // Rows around a row are read several times. In blocks, they stay in the cache.
    const std::int64_t blockCount = balls.small.BlockCount();
    progress.Start(static_cast<unsigned>(blockCount), "maximal balls");
    const bool isDone = ParallelForAtPace(blockCount, progress, [&] { return CRowSearch(balls, limits); });
    progress.Finish();
    return isDone;
}

} // namespace ORVEN
