#include "QuillonGranulometry/StBalls.h"

#include "QuillonGranulometry/CNearLimits.h"

#include <QuillonTransformation/axis/MedialAxisRows.h>

#include <algorithm>
#include <array>
#include <vector>

namespace ORVEN {

namespace {

class CRowSearch {
public:
    CRowSearch(StBalls& balls, const CNearLimits& limits)
        : m_balls(balls)
        , m_nearLimits(limits) {
        const auto paddedLength = static_cast<std::size_t>(balls.distances.nx) + 2;
        m_rows.fill(std::vector<std::int32_t>(paddedLength, 0));
        m_limits.fill(m_rows[0]);
        m_isCovered = m_rows[0];
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
        for (std::int64_t x = 0; x < nx; ++x) {
            const auto limits = m_nearLimits.At(distances[x]);
            for (std::size_t i = 0; i < limits.size(); ++i)
                m_limits[i][static_cast<std::size_t>(x) + 1] = limits[i];
        }
        for (std::size_t i = 0; i < m_limits.size(); ++i)
            around.limits[i] = m_limits[i].data();
        FindCoveredByNearest(m_vectors, around, m_isCovered.data(), 1, nx + 1);
        for (std::int64_t x = 0; x < nx; ++x) {
            if (distances[x] > 0 && m_isCovered[static_cast<std::size_t>(x) + 1] == 0)
                m_balls.candidates.Set(m_balls.distances.RowNumber(y, z), x);
        }
    }

private:
    /// Copies to a row with one extra element on either side; 0 outside the image.
    void CopyRow(std::int64_t y, std::int64_t z, std::vector<std::int32_t>& copy) const {
        if (m_balls.distances.HasRow(y, z))
            std::copy_n(m_balls.distances.Row(y, z), m_balls.distances.nx, copy.begin() + 1);
        else
            std::ranges::fill(copy, 0);
    }

    StBalls& m_balls;
    const CNearLimits& m_nearLimits;
    Impl::EnVectors m_vectors = Impl::BestVectors();
    std::array<std::vector<std::int32_t>, 9> m_rows;
    std::array<std::vector<std::int32_t>, 3> m_limits;
    std::vector<std::int32_t> m_isCovered;
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
