#include "QuillonTransformation/axis/MedialAxisKernel.h"

#include "QuillonTransformation/ForEachByteExcept.h"
#include "QuillonTransformation/axis/CCoveringTable.h"
#include "QuillonTransformation/axis/CSphereVectors.h"
#include "QuillonTransformation/axis/MedialAxisRows.h"
#include "QuillonTransformation/distance/CSquaredDistanceView.h"

#include <QuillonBase/CWorkPace.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

// Nearly every pixel lies in the ball of one of its 26 neighbours. This is tested row by row, without
// branches; only the axis and a few other pixels remain. For these, the neighbours also show how far the
// distance can rise: from x + e to x + v, its root increases by at most |v - e|. On the axis, it hardly rises
// in any direction, so that most vectors v are ruled out at once, and D(x + v), which is rarely in the cache,
// is read for few.

namespace ORVEN {

namespace {

const char* const c_function = "MarkMedialAxis";

/// The division of an image among the threads. The distances around a row are read for several rows; in
/// blocks, they stay in the cache, which saves a seventh of the time at 512^3.
class CBlocks {
public:
    explicit CBlocks(const CSquaredDistanceView& distance)
        : m_ny(distance.ny)
        , m_nz(distance.nz)
        , m_countAlongY((m_ny + c_rows - 1) / c_rows) {}

    [[nodiscard]] std::int64_t Count() const { return m_countAlongY * ((m_nz + c_layers - 1) / c_layers); }

    /// Calls `body(y, z)` for the rows of a block until the pace is cancelled.
    template <class Body>
    void ForEachRow(std::int64_t block, const CWorkPace& pace, const Body& body) const {
        const std::int64_t firstY = block % m_countAlongY * c_rows;
        const std::int64_t firstZ = block / m_countAlongY * c_layers;
        for (std::int64_t z = firstZ; z < std::min(firstZ + c_layers, m_nz); ++z) {
            for (std::int64_t y = firstY; y < std::min(firstY + c_rows, m_ny) && !pace.IsCancelled(); ++y)
                body(y, z);
        }
    }

private:
    static constexpr std::int64_t c_rows = 32;
    static constexpr std::int64_t c_layers = 16;

    std::int64_t m_ny;
    std::int64_t m_nz;
    std::int64_t m_countAlongY;
};

/// The parameters of a call that are the same for all blocks.
struct StTask {
    const CSquaredDistanceView& distance;
    const CImageView<unsigned char>& output;
    const CCoveringTable& table;
    const CBlocks& blocks;
    std::size_t farVectorCount;
    std::int32_t leastDistance; ///< of a pixel that can be on the axis
};

/// The squared distances at a pixel and its 26 neighbours.
class CNearDistances {
public:
    CNearDistances(const StRowNeighborhood& around, std::int64_t x, std::int64_t nx) {
        // From the order of `StRowNeighborhood` to raster order.
        constexpr std::array<std::size_t, 9> order{5, 1, 6, 2, 0, 3, 7, 4, 8};
        for (std::size_t row = 0; row < order.size(); ++row) {
            const std::int32_t* const pixel = around.rows[order[row]] + x;
            m_distances[3 * row] = x > 0 ? pixel[-1] : 0;
            m_distances[3 * row + 1] = pixel[0];
            m_distances[3 * row + 2] = x + 1 < nx ? pixel[1] : 0;
        }
    }

    /// The greatest of the neighbours one, two and three steps away.
    [[nodiscard]] std::array<std::int32_t, 3> Greatest() const {
        const auto greatestOf = [this](auto... places) { return std::max({m_distances[places]...}); };
        return {greatestOf(4, 10, 12, 14, 16, 22), greatestOf(1, 3, 5, 7, 9, 11, 15, 17, 19, 21, 23, 25),
                greatestOf(0, 2, 6, 8, 18, 20, 24, 26)};
    }

    /// Calls `body(x, y, z)` for the images v of a vector for which the neighbours on the way to v allow the
    /// squared distance there to reach `limit`, until a call returns false. Returns true if no call did. Can
    /// visit an image twice. `rests` are the lengths of the vector from these neighbours on.
    template <class Body>
    bool ForEachReachable(const StSortedVector& vector, const std::array<float, 3>& rests, std::int32_t limit,
                          const Body& body) const {
        const std::array<std::int32_t, 3> least = LeastOnTheWay(rests, limit);
        std::array<std::int32_t, 3> image{};
        const auto forEachSign = [this](std::size_t place, std::size_t axis, std::int32_t leastDistance,
                                        const auto& visit) {
            constexpr std::array<std::size_t, 3> strides{1, 3, 9};
            const std::size_t before = place - strides[axis];
            const std::size_t after = place + strides[axis];
            return (m_distances[before] < leastDistance || visit(before, -1)) &&
                   (m_distances[after] < leastDistance || visit(after, 1));
        };
        const auto forLast = [&](std::size_t place, std::size_t axis) {
            return forEachSign(place, axis, least[2], [&](std::size_t, std::int32_t sign) {
                image[axis] = sign * vector.c;
                return body(image[0], image[1], image[2]);
            });
        };
        const auto forMiddle = [&](std::size_t place, std::size_t axis, std::size_t last) {
            return forEachSign(place, axis, least[1], [&](std::size_t next, std::int32_t sign) {
                image[axis] = sign * vector.b;
                return forLast(next, last);
            });
        };
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const std::size_t second = (axis + 1) % 3;
            const std::size_t third = (axis + 2) % 3;
            const bool isDone =
                forEachSign(c_center, axis, least[0], [&](std::size_t next, std::int32_t sign) {
                    image[axis] = sign * vector.a;
                    return forMiddle(next, second, third) && forMiddle(next, third, second);
                });
            if (!isDone)
                return false;
        }
        return true;
    }

private:
    static constexpr std::size_t c_center = 13;

    /// The squared distances without which the limit cannot be reached, one, two and three steps away.
    static std::array<std::int32_t, 3> LeastOnTheWay(const std::array<float, 3>& rests, std::int32_t limit) {
        const float root = std::sqrt(static_cast<float>(limit)) * c_roundingMargin;
        std::array<std::int32_t, 3> least{};
        for (std::size_t i = 0; i < least.size(); ++i) {
            const float rest = std::max(root - rests[i], 0.0F);
            least[i] = static_cast<std::int32_t>(rest * rest);
        }
        return least;
    }

    std::array<std::int32_t, 27> m_distances;
};

class CBlockWorker {
public:
    explicit CBlockWorker(const StTask& task)
        : m_task(task)
        , m_outside(static_cast<std::size_t>(task.distance.nx), 0)
        , m_isCovered(m_outside.size(), 0)
        , m_limits{m_outside, m_outside, m_outside}
        , m_isSelected(task.farVectorCount) {
        for (const StSortedVector& vector : task.table.FarVectors().first(task.farVectorCount)) {
            m_squares.push_back(vector.SquaredLength());
            for (std::size_t i = 0; i < m_rests.size(); ++i)
                m_rests[i].push_back(RestOf(vector, c_nearVectors[i]));
        }
    }

    void operator()(std::int64_t block, CWorkPace& pace) {
        m_task.blocks.ForEachRow(block, pace, [&](std::int64_t y, std::int64_t z) {
            MarkRow(y, z, pace);
            (void)pace.Add(m_task.distance.nx * c_unitsPerPixel);
        });
    }

private:
    static constexpr std::int64_t c_unitsPerPixel = 4;
    /// Vectors are selected in pieces, because short ones cover most of the pixels that are covered at all.
    static constexpr std::size_t c_vectorsPerPiece = 64;
    /// Units of work for a selected vector.
    static constexpr std::int64_t c_unitsPerFarVector = 64;

    static float RestOf(const StSortedVector& vector, const StSortedVector& neighbor) {
        return static_cast<float>(
            std::hypot(vector.a - neighbor.a, vector.b - neighbor.b, vector.c - neighbor.c));
    }

    void MarkRow(std::int64_t y, std::int64_t z, CWorkPace& pace) {
        const std::int32_t* const distances = m_task.distance.Row(y, z);
        const std::int64_t nx = m_task.distance.nx;
        unsigned char* const marks = m_task.output.Row(y, z);
        std::fill_n(marks, nx, static_cast<unsigned char>(0));
        if (!FillLimits(distances))
            return;
        const StRowNeighborhood around = RowsAround(y, z);
        FindCoveredByNearest(m_vectors, around, m_isCovered.data(), 1, nx - 1);
        m_isCovered.front() = IsCoveredByNearest(0, y, z) ? 1 : 0;
        m_isCovered.back() = IsCoveredByNearest(nx - 1, y, z) ? 1 : 0;
        ForEachByteExcept(m_isCovered.data(), nx, std::uint8_t{1}, [&](std::int64_t x) {
            if (distances[x] >= m_task.leastDistance && !pace.IsCancelled())
                marks[x] = IsCoveredFromFar(x, y, z, around, pace) ? 0 : 1;
        });
    }

    /// Looks up the limits of the pixels that can be on the axis, and returns whether there is one. Where
    /// there is none, limits of 0 let all pixels appear to be covered.
    bool FillLimits(const std::int32_t* distances) {
        constexpr std::size_t length = 8;
        bool isAny = false;
        for (std::size_t first = 0; first < m_isCovered.size(); first += length) {
            const std::size_t end = std::min(first + length, m_isCovered.size());
            const auto isOfInterest = [least = m_task.leastDistance](std::int32_t distance) {
                return distance >= least;
            };
            if (std::none_of(distances + first, distances + end, isOfInterest)) {
                for (std::vector<std::int32_t>& limits : m_limits)
                    std::fill(limits.begin() + first, limits.begin() + end, 0);
                continue;
            }
            isAny = true;
            for (std::size_t x = first; x < end; ++x) {
                for (std::size_t i = 0; i < m_limits.size(); ++i)
                    m_limits[i][x] = m_task.table.NearLimit(i + 1, distances[x]);
            }
        }
        return isAny;
    }

    [[nodiscard]] StRowNeighborhood RowsAround(std::int64_t y, std::int64_t z) const {
        const auto row = [&](std::int64_t dy, std::int64_t dz) {
            return m_task.distance.Contains(0, y + dy, z + dz) ? m_task.distance.Row(y + dy, z + dz)
                                                               : m_outside.data();
        };
        return {{row(0, 0), row(0, -1), row(-1, 0), row(1, 0), row(0, 1), //
                 row(-1, -1), row(1, -1), row(-1, 1), row(1, 1)},
                {m_limits[0].data(), m_limits[1].data(), m_limits[2].data()}};
    }

    /// The same for a single pixel, which can be at the end of a row.
    [[nodiscard]] bool IsCoveredByNearest(std::int64_t x, std::int64_t y, std::int64_t z) const {
        const std::int32_t distance = m_task.distance.At(x, y, z);
        for (std::size_t stepCount = 1; stepCount <= c_nearVectors.size(); ++stepCount) {
            const std::int32_t limit = m_task.table.NearLimit(stepCount, distance);
            const bool isUncovered = ForEachImage(c_nearVectors[stepCount - 1], [&](int dx, int dy, int dz) {
                return m_task.distance.At(x + dx, y + dy, z + dz) < limit;
            });
            if (!isUncovered)
                return true;
        }
        return false;
    }

    bool IsCoveredFromFar(std::int64_t x, std::int64_t y, std::int64_t z, const StRowNeighborhood& around,
                          CWorkPace& pace) {
        const std::int32_t distance = around.rows[0][x];
        const std::size_t count = std::min(m_isSelected.size(), m_task.table.FarVectorCountAt(distance));
        if (count == 0)
            return false;
        const CNearDistances near(around, x, m_task.distance.nx);
        const auto [oneStep, twoSteps, threeSteps] = near.Greatest();
        const auto root = [](std::int32_t square) { return std::sqrt(static_cast<float>(square)); };
        StReach reach{distance,
                      {root(oneStep), root(twoSteps), root(threeSteps)},
                      {m_rests[0].data(), m_rests[1].data(), m_rests[2].data()},
                      m_squares.data()};
        const std::uint16_t* const excesses = m_task.table.FarExcesses(distance).data();
        for (std::size_t first = 0; first < count; first += c_vectorsPerPiece) {
            const std::size_t end = std::min(first + c_vectorsPerPiece, count);
            (void)pace.Add(static_cast<std::int64_t>(end - first) + c_unitsPerFarVector);
            const bool isAnySelected = SelectReachable(m_vectors, reach.From(first), excesses + first,
                                                       m_isSelected.data() + first, end - first);
            if (isAnySelected && IsCoveredBySelected(first, end, x, y, z, distance, near, pace))
                return true;
        }
        return false;
    }

    /// Compares with the vectors from `first` to before `end` that are selected.
    bool IsCoveredBySelected(std::size_t first, std::size_t end, std::int64_t x, std::int64_t y,
                             std::int64_t z, std::int32_t distance, const CNearDistances& near,
                             CWorkPace& pace) const {
        const std::uint16_t* const excesses = m_task.table.FarExcesses(distance).data();
        for (std::size_t i = first; i < end; ++i) {
            if (m_isSelected[i] == 0 || excesses[i] == CCoveringTable::c_never)
                continue;
            const StSortedVector& vector = m_task.table.FarVectors()[i];
            const std::int32_t limit = distance + vector.SquaredLength() + excesses[i];
            if (limit > m_task.distance.Greatest())
                continue;
            (void)pace.Add(c_unitsPerFarVector);
            const bool isUncovered = near.ForEachReachable(
                vector, {m_rests[0][i], m_rests[1][i], m_rests[2][i]}, limit,
                [&](int vx, int vy, int vz) { return m_task.distance.At(x + vx, y + vy, z + vz) < limit; });
            if (!isUncovered)
                return true;
        }
        return false;
    }

    const StTask& m_task;
    Impl::EnVectors m_vectors = Impl::BestVectors();
    std::vector<std::int32_t> m_outside; ///< a row beyond the border
    std::vector<std::uint8_t> m_isCovered;
    std::array<std::vector<std::int32_t>, 3> m_limits;
    std::vector<std::int32_t> m_squares;       ///< of the lengths of the far vectors
    std::array<std::vector<float>, 3> m_rests; ///< their lengths beyond the three kinds of neighbours
    std::vector<std::uint8_t> m_isSelected;
};

/// The squared distances that occur in the image; incomplete if cancelled.
std::vector<std::uint8_t> Occurrences(const CSquaredDistanceView& distance, CWorkPace& pace) {
    std::vector<std::uint8_t> occurs(static_cast<std::size_t>(distance.Greatest()) + 1, 0);
    ForEachRow(distance, 1, pace, [&](std::int64_t y, std::int64_t z) {
        const std::int32_t* const row = distance.Row(y, z);
        for (std::int64_t x = 0; x < distance.nx; ++x)
            occurs[static_cast<std::size_t>(row[x])] = 1;
    });
    return occurs;
}

} // namespace

void MarkMedialAxis(const IImage& squaredDistance, IImage& output, std::int64_t squaredRadius,
                    const std::string& tablePath, IProgress& progress) {
    CWorkPace pace(progress);
    const CSquaredDistanceView distance(c_function, squaredDistance, progress, pace);
    RequireFitting(c_function, output, IMAGE_BINARY_FG, squaredDistance);
    if (pace.IsCancelled())
        return CImageView<unsigned char>(output).Fill(0);
    MarkMedialAxis(distance, output, squaredRadius, tablePath, progress);
}

void MarkMedialAxis(const CSquaredDistanceView& distance, IImage& output, std::int64_t squaredRadius,
                    const std::string& tablePath, IProgress& progress) {
    CWorkPace pace(progress);
    RequireFitting(c_function, output, IMAGE_BINARY_FG, distance.Image());
    const CImageView<unsigned char> marks(output);
    const std::int32_t greatest = std::max(distance.Greatest(), 1);
    std::vector<std::uint8_t> occurs;
    if (!CCoveringTable::IsShared(greatest))
        occurs = Occurrences(distance, pace);
    const auto table =
        pace.IsCancelled() ? nullptr : CCoveringTable::ForImage(tablePath, greatest, pace, occurs);
    if (table == nullptr)
        return marks.Fill(0);
    const CBlocks blocks(distance);
    constexpr std::int64_t aboveAll = std::numeric_limits<std::int32_t>::max();
    const auto leastDistance =
        static_cast<std::int32_t>(std::clamp<std::int64_t>(squaredRadius, 1, aboveAll));
    const StTask task{distance, marks, *table, blocks, table->FarVectorCount(greatest), leastDistance};
    progress.Start(static_cast<unsigned>(blocks.Count()), "medial axis");
    const bool isDone = ParallelForAtPace(blocks.Count(), progress, [&task] { return CBlockWorker(task); });
    if (!isDone)
        marks.Fill(0);
    progress.Finish();
}

} // namespace ORVEN
