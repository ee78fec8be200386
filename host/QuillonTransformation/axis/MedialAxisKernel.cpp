#include "QuillonTransformation/axis/MedialAxisKernel.h"

#include "QuillonTransformation/axis/CCoveringTable.h"
#include "QuillonTransformation/axis/CNearestSites.h"
#include "QuillonTransformation/axis/MedialAxisRows.h"
#include "QuillonTransformation/distance/CSquaredDistanceView.h"

#include <QuillonBase/CWorkPace.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

// Nearly every pixel lies in the ball of one of its 26 neighbours. This is tested row by row, without
// branches; only the axis and a few other pixels remain. If w leads from such a pixel x to its nearest
// background pixel, a ball around x + v that contains the ball of x must not reach x + w either: |w - v|^2 >
// M, that is, -2 w v >= the excess in the table. The sorted images of w and v show for all 48 images of v at
// once whether any can satisfy this, which leaves a small part of the list.

namespace ORVEN {

namespace {

const char* const c_function = "MarkMedialAxis";

/// The parameters of a call that are the same for all planes.
struct StTask {
    const CSquaredDistanceView& distance;
    const CImageView<unsigned char>& output;
    const CCoveringTable& table;
    const CNearestSites& sites;
    std::size_t farVectorCount;
    std::int64_t leastDistance;
};

/// A vector w to a nearest background pixel, stored as its sorted image and the mapping to it: component k of
/// the sorted image of -w belongs to axis `axes[k]`, with the sign `signs[k]`.
struct StDirection {
    std::array<std::int16_t, 3> lengths{};
    std::array<std::size_t, 3> axes{0, 1, 2};
    std::array<std::int32_t, 3> signs{1, 1, 1};

    StDirection() = default;
    StDirection(std::int32_t x, std::int32_t y, std::int32_t z) {
        const std::array<std::int32_t, 3> w{x, y, z};
        std::ranges::sort(axes,
                          [&w](std::size_t i, std::size_t j) { return std::abs(w[i]) > std::abs(w[j]); });
        for (std::size_t k = 0; k < 3; ++k) {
            lengths[k] = static_cast<std::int16_t>(std::abs(w[axes[k]]));
            signs[k] = w[axes[k]] > 0 ? -1 : 1;
        }
    }

    /// Calls `body(x, y, z)` for the images v of a vector with -2 w v >= excess, until a call returns false.
    /// Returns true if no call did.
    template <class Body>
    bool ForEachOpposite(const StSortedVector& vector, std::int32_t excess, const Body& body) const {
        return ForEachArrangement(vector, [&](std::int32_t a, std::int32_t b, std::int32_t c) {
            const std::array<std::int32_t, 3> v{a, b, c};
            const std::int32_t product = 2 * (lengths[0] * a + lengths[1] * b + lengths[2] * c);
            return product < excess || ForEachSign<0>(v, product - excess, {}, body);
        });
    }

private:
    /// Tries both signs of the components from the k-th on, as long as the product exceeds the limit by
    /// enough.
    template <std::size_t k, class Body>
    [[nodiscard]] bool ForEachSign(const std::array<std::int32_t, 3>& v, std::int32_t spare,
                                   std::array<std::int32_t, 3> image, const Body& body) const {
        if constexpr (k == 3) {
            return body(image[0], image[1], image[2]);
        } else {
            image[axes[k]] = signs[k] * v[k];
            if (!ForEachSign<k + 1>(v, spare, image, body))
                return false;
            const std::int32_t loss = 4 * lengths[k] * v[k];
            if (v[k] == 0 || loss > spare)
                return true;
            image[axes[k]] = -signs[k] * v[k];
            return ForEachSign<k + 1>(v, spare - loss, image, body);
        }
    }
};

class CPlaneWorker {
public:
    explicit CPlaneWorker(const StTask& task)
        : m_task(task)
        , m_outside(static_cast<std::size_t>(task.distance.nx), 0)
        , m_isCovered(m_outside.size(), 0)
        , m_limits{m_outside, m_outside, m_outside}
        , m_isSelected(task.farVectorCount) {
        for (const StSortedVector& vector : task.table.FarVectors().first(task.farVectorCount)) {
            m_doubleA.push_back(static_cast<std::int16_t>(2 * vector.a));
            m_doubleB.push_back(static_cast<std::int16_t>(2 * vector.b));
            m_doubleC.push_back(static_cast<std::int16_t>(2 * vector.c));
        }
    }

    void operator()(std::int64_t z, CWorkPace& pace) {
        for (std::int64_t y = 0; y < m_task.distance.ny && !pace.IsCancelled(); ++y) {
            MarkRow(y, z, pace);
            (void)pace.Add(m_task.distance.nx * c_unitsPerPixel);
        }
    }

private:
    static constexpr std::int64_t c_unitsPerPixel = 4;
    static constexpr std::size_t c_fewVectors = 3;
    /// Units of work for a vector whose images are all tested.
    static constexpr std::int64_t c_unitsPerFarVector = 64;

    void MarkRow(std::int64_t y, std::int64_t z, CWorkPace& pace) {
        const std::int32_t* const distances = m_task.distance.Row(y, z);
        const std::int64_t nx = m_task.distance.nx;
        unsigned char* const marks = m_task.output.Row(y, z);
        std::fill_n(marks, nx, static_cast<unsigned char>(0));
        if (std::all_of(distances, distances + nx, [](std::int32_t distance) { return distance == 0; }))
            return;
        FillLimits(distances);
        FindCoveredByNearest(m_vectors, RowsAround(y, z), m_isCovered.data(), 1, nx - 1);
        m_isCovered.front() = IsCoveredByNearest(0, y, z) ? 1 : 0;
        m_isCovered.back() = IsCoveredByNearest(nx - 1, y, z) ? 1 : 0;

        for (std::int64_t x = 0; x < nx; ++x) {
            const std::int32_t distance = distances[x];
            if (distance == 0 || distance < m_task.leastDistance ||
                m_isCovered[static_cast<std::size_t>(x)] != 0)
                continue;
            marks[x] = IsCoveredFromFar(x, y, z, distance, pace) ? 0 : 1;
            if (pace.IsCancelled())
                return;
        }
    }

    void FillLimits(const std::int32_t* distances) {
        for (std::size_t x = 0; x < m_isCovered.size(); ++x) {
            for (std::size_t i = 0; i < m_limits.size(); ++i)
                m_limits[i][x] = m_task.table.NearLimit(i + 1, distances[x]);
        }
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

    /// Compares with all images of the first few vectors, which takes less time than the search for a nearest
    /// background pixel.
    [[nodiscard, gnu::noinline]] bool IsCoveredByFew(std::size_t count, std::int64_t x, std::int64_t y,
                                                     std::int64_t z, std::int32_t distance,
                                                     CWorkPace& pace) const {
        const std::uint16_t* const excesses = m_task.table.FarExcesses(distance).data();
        for (std::size_t i = 0; i < count; ++i) {
            const StSortedVector& vector = m_task.table.FarVectors()[i];
            const std::int32_t limit = distance + vector.SquaredLength() + excesses[i];
            if (excesses[i] == CCoveringTable::c_never || limit > m_task.distance.Greatest())
                continue;
            (void)pace.Add(c_unitsPerFarVector);
            const bool isUncovered = ForEachImage(vector, [&](int vx, int vy, int vz) {
                return m_task.distance.At(x + vx, y + vy, z + vz) < limit;
            });
            if (!isUncovered)
                return true;
        }
        return false;
    }

    // The comparisons take a fifth less time inlined, which the compiler does not always see.
    [[gnu::flatten]] bool IsCoveredFromFar(std::int64_t x, std::int64_t y, std::int64_t z,
                                           std::int32_t distance, CWorkPace& pace) {
        const std::size_t count = std::min(m_isSelected.size(), m_task.table.FarVectorCountAt(distance));
        if (count <= c_fewVectors)
            return IsCoveredByFew(count, x, y, z, distance, pace);
        StDirection direction;
        m_task.sites.Visit(x, y, z, pace, [&direction](std::int32_t vx, std::int32_t vy, std::int32_t vz) {
            direction = StDirection(vx, vy, vz);
            return false;
        });
        (void)pace.Add(static_cast<std::int64_t>(count) + c_unitsPerFarVector);
        const std::uint16_t* const excesses = m_task.table.FarExcesses(distance).data();
        if (!SelectOpposite(m_vectors, direction.lengths,
                            {m_doubleA.data(), m_doubleB.data(), m_doubleC.data()}, excesses,
                            m_isSelected.data(), count))
            return false;
        for (std::size_t i = 0; i < count; ++i) {
            if (m_isSelected[i] == 0 || excesses[i] == CCoveringTable::c_never)
                continue;
            const StSortedVector& vector = m_task.table.FarVectors()[i];
            const std::int32_t limit = distance + vector.SquaredLength() + excesses[i];
            if (limit > m_task.distance.Greatest())
                continue;
            (void)pace.Add(c_unitsPerFarVector);
            const bool isUncovered =
                direction.ForEachOpposite(vector, excesses[i], [&](int vx, int vy, int vz) {
                    return m_task.distance.At(x + vx, y + vy, z + vz) < limit;
                });
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
    std::vector<std::int16_t> m_doubleA; ///< twice the components of the far vectors
    std::vector<std::int16_t> m_doubleB;
    std::vector<std::int16_t> m_doubleC;
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
    const CImageView<unsigned char> marks(output);
    const std::int32_t greatest = std::max(distance.Greatest(), 1);
    std::vector<std::uint8_t> occurs;
    if (!pace.IsCancelled() && !CCoveringTable::IsShared(greatest))
        occurs = Occurrences(distance, pace);
    const auto table =
        pace.IsCancelled() ? nullptr : CCoveringTable::ForImage(tablePath, greatest, pace, occurs);
    const auto spheres = pace.IsCancelled() ? nullptr : SpheresForImage({}, greatest, pace);
    if (table == nullptr || spheres == nullptr)
        return marks.Fill(0);
    const CNearestSites sites(distance, *spheres);
    const StTask task{distance, marks, *table, sites, table->FarVectorCount(greatest), squaredRadius};
    progress.Start(static_cast<unsigned>(marks.nz), "medial axis");
    const bool isDone = ParallelFor(marks.nz, progress, [&task](CWorkerTurn& turn) {
        return [pace = CWorkPace(turn), worker = CPlaneWorker(task)](std::int64_t z) mutable {
            worker(z, pace);
        };
    });
    if (!isDone)
        marks.Fill(0);
    progress.Finish();
}

} // namespace ORVEN
