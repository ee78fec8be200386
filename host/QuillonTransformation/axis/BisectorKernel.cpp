#include "QuillonTransformation/axis/BisectorKernel.h"

#include "QuillonTransformation/axis/CNearestSites.h"
#include "QuillonTransformation/distance/CSquaredDistanceView.h"

#include <QuillonBase/AvailableMemory.h>
#include <QuillonBase/CWorkPace.h>
#include <QuillonBase/Parallel.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <memory>
#include <span>
#include <utility>
#include <vector>

// Up to seven pixels use the same projection. It is computed on first use and kept as long as its plane can
// be needed: a window of three planes moves through a slab, row by row with the mask.

namespace ORVEN {

namespace {

const char* const c_function = "ComputeBisector";
const char* const c_lists = "The list of nearest background pixels";

/// The number of planes that a thread processes in one piece. Each piece computes the projections of two more
/// planes, so that there are only as many pieces as keep all threads busy.
std::int64_t SlabDepth(std::int64_t planeCount) {
    constexpr std::int64_t slabsOfThread = 4;
    constexpr std::int64_t leastDepth = 4;
    constexpr std::int64_t greatestDepth = 16;
    if (ThreadCount() == 1)
        return greatestDepth;
    return std::clamp(planeCount / (slabsOfThread * ThreadCount()), leastDepth, greatestDepth);
}

/// From this number of points on, a single extended projection checks for cancellation.
constexpr std::size_t c_manyPoints = 64;

/// A vector to a nearest background pixel.
struct StSite {
    std::int16_t x;
    std::int16_t y;
    std::int16_t z;
};

/// Sites side by side. It grows as a vector does, and asks for a cancellation while it moves.
class CSiteList {
public:
    void Clear() { m_size = 0; }

    void Append(const StSite& site, CWorkPace& pace) {
        if (m_size == m_capacity)
            Grow(pace);
        m_sites[m_size++] = site;
    }

    [[nodiscard]] std::size_t Size() const { return m_size; }
    [[nodiscard]] const StSite* At(std::size_t place) const { return m_sites.get() + place; }

private:
    /// Some sites are lost if cancelled.
    [[gnu::noinline]] void Grow(CWorkPace& pace) {
        const std::size_t capacity = std::max<std::size_t>(2 * m_capacity, 1 << 12);
        RequireMemory(c_function, c_lists, static_cast<std::int64_t>(capacity * sizeof(StSite)));
        auto moved = std::make_unique_for_overwrite<StSite[]>(capacity);
        ForEachPiece(static_cast<std::int64_t>(m_size), 2, pace, [&](std::int64_t first, std::int64_t end) {
            std::copy(m_sites.get() + first, m_sites.get() + end, moved.get() + first);
        });
        m_sites = std::move(moved);
        m_capacity = capacity;
    }

    std::unique_ptr<StSite[]> m_sites;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
};

/// The projections computed so far for the pixels of one plane.
class CPlaneProjections {
public:
    CPlaneProjections(const CSquaredDistanceView& distance, const CNearestSites& sites)
        : m_sites(sites)
        , m_nx(distance.nx)
        , m_entryCount(distance.nx * distance.ny)
        , m_entries(std::make_unique_for_overwrite<StEntry[]>(static_cast<std::size_t>(m_entryCount))) {}

    /// The memory in bytes for the pixels of a plane, without their projections.
    [[nodiscard]] static std::int64_t BytesFor(const CSquaredDistanceView& distance) {
        return distance.nx * distance.ny * std::int64_t{sizeof(StEntry)};
    }

    /// Returns false if cancelled.
    bool MoveTo(std::int64_t z, CWorkPace& pace) {
        m_z = z;
        m_found.Clear();
        return ForEachPiece(m_entryCount, 4, pace, [this](std::int64_t first, std::int64_t end) {
            std::fill(m_entries.get() + first, m_entries.get() + end, StEntry{0, 0});
        });
    }

    /// Returns the projection of an object pixel, which is incomplete once the pace is cancelled.
    std::span<const StSite> Of(std::int64_t x, std::int64_t y, CWorkPace& pace) {
        StEntry& entry = m_entries[static_cast<std::size_t>(y * m_nx + x)];
        if (entry.count == 0)
            entry = Find(x, y, pace);
        return {m_found.At(entry.begin), entry.count};
    }

private:
    struct StEntry {
        std::uint32_t begin;
        std::uint32_t count; ///< 0 until it is computed
    };

    [[gnu::noinline]] StEntry Find(std::int64_t x, std::int64_t y, CWorkPace& pace) {
        const std::size_t begin = m_found.Size();
        m_sites.Visit(x, y, m_z, pace, [this, &pace](std::int32_t vx, std::int32_t vy, std::int32_t vz) {
            m_found.Append(
                {static_cast<std::int16_t>(vx), static_cast<std::int16_t>(vy), static_cast<std::int16_t>(vz)},
                pace);
            return true;
        });
        return {static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(m_found.Size() - begin)};
    }

    const CNearestSites& m_sites;
    std::int64_t m_nx;
    std::int64_t m_entryCount;
    std::int64_t m_z = 0;
    std::unique_ptr<StEntry[]> m_entries;
    CSiteList m_found;
};

/// The points of an extended projection, as seen from the pixel.
class CExtendedProjection {
public:
    void Clear() { m_points.clear(); }

    void Add(std::int32_t x, std::int32_t y, std::int32_t z) {
        for (const StPoint& point : m_points) {
            if (point.x == x && point.y == y && point.z == z)
                return;
        }
        m_points.push_back({x, y, z, std::int64_t{x} * x + std::int64_t{y} * y + std::int64_t{z} * z});
    }

    [[nodiscard]] std::size_t Size() const { return m_points.size(); }

    /// Returns the largest angle between two of the points; undefined if cancelled.
    [[nodiscard]] float GreatestAngle(CWorkPace& pace) const {
        double leastCosine = 1.0;
        double leastSquare = 1.0; // with the sign of the cosine
        for (std::size_t i = 1; i < m_points.size(); ++i) {
            const StPoint& u = m_points[i];
            for (std::size_t j = 0; j < i; ++j) {
                const StPoint& w = m_points[j];
                const std::int64_t dot =
                    std::int64_t{u.x} * w.x + std::int64_t{u.y} * w.y + std::int64_t{u.z} * w.z;
                const std::int64_t product = u.squaredLength * w.squaredLength; // at most about 2^60
                if (dot < 0 && dot * dot == product)
                    return c_pi;
                const auto wide = static_cast<double>(product);
                const auto wideDot = static_cast<double>(dot);
                // Comparing squares rejects most pairs without a root; the margin exceeds their rounding
                // errors.
                if (wideDot * std::fabs(wideDot) >= (leastSquare + c_margin) * wide)
                    continue;
                leastCosine = std::min(leastCosine, wideDot / std::sqrt(wide));
                leastSquare = leastCosine * std::fabs(leastCosine);
            }
            if (i >= c_manyPoints && pace.Add(static_cast<std::int64_t>(4 * i)))
                break;
        }
        return static_cast<float>(std::acos(std::clamp(leastCosine, -1.0, 1.0)));
    }

private:
    struct StPoint {
        std::int32_t x;
        std::int32_t y;
        std::int32_t z;
        std::int64_t squaredLength;
    };

    static constexpr float c_pi = 3.1415927F;
    static constexpr double c_margin = 1e-12;

    std::vector<StPoint> m_points;
};

/// The parameters of a call that are the same for all slabs.
struct StTask {
    const CSquaredDistanceView& distance;
    const CImageView<const unsigned char>& mask;
    const CImageView<float>& output;
    const CNearestSites& sites;
    float minimumAngle;
    std::int64_t slabDepth;
};

class CSlabWorker {
public:
    explicit CSlabWorker(const StTask& task)
        : m_task(task) {
        for (int i = 0; i < c_planes; ++i)
            m_planes.emplace_back(task.distance, task.sites);
    }

    /// The memory in bytes that a worker takes from the beginning.
    [[nodiscard]] static std::int64_t BytesFor(const CSquaredDistanceView& distance) {
        return c_planes * CPlaneProjections::BytesFor(distance);
    }

    void operator()(std::int64_t slab, CWorkPace& pace) {
        const std::int64_t begin = slab * m_task.slabDepth;
        const std::int64_t end = std::min(begin + m_task.slabDepth, m_task.distance.nz);
        const auto moveTo = [&](std::int64_t z) { return Plane(z).MoveTo(z, pace); };
        if (!moveTo(begin - 1) || !moveTo(begin))
            return;
        for (std::int64_t z = begin; z < end && moveTo(z + 1); ++z) {
            for (std::int64_t y = 0; y < m_task.distance.ny && !pace.IsCancelled(); ++y) {
                ComputeRow(y, z, pace);
                (void)pace.Add(m_task.distance.nx);
            }
        }
    }

private:
    static constexpr int c_planes = 3;
    /// Units of work for projecting a pixel, and for each point of its extended projection.
    static constexpr std::int64_t c_unitsPerPixel = 128;
    static constexpr std::int64_t c_unitsPerPoint = 16;
    static constexpr std::int64_t c_unitsPerReport = 1 << 14;

    CPlaneProjections& Plane(std::int64_t z) {
        return m_planes[static_cast<std::size_t>((z + c_planes) % c_planes)];
    }

    void ComputeRow(std::int64_t y, std::int64_t z, CWorkPace& pace) {
        const std::int32_t* const distances = m_task.distance.Row(y, z);
        const unsigned char* const mask = m_task.mask.Row(y, z);
        float* const angles = m_task.output.Row(y, z);
        std::fill_n(angles, m_task.distance.nx, 0.0F);
        std::int64_t units = 0;
        for (std::int64_t x = 0; x < m_task.distance.nx; ++x) {
            if (mask[x] == 0 || distances[x] == 0)
                continue;
            Project(x, y, z, distances[x], pace);
            const float angle = m_projection.GreatestAngle(pace);
            units += c_unitsPerPixel + c_unitsPerPoint * static_cast<std::int64_t>(m_projection.Size());
            if (units > c_unitsPerReport && pace.Add(std::exchange(units, 0)))
                return;
            if (angle >= m_task.minimumAngle)
                angles[x] = angle;
        }
        (void)pace.Add(units);
    }

    void Project(std::int64_t x, std::int64_t y, std::int64_t z, std::int32_t distance, CWorkPace& pace) {
        m_projection.Clear();
        AddProjectionOf(x, y, z, 0, 0, 0, pace);
        constexpr std::array<std::array<std::int32_t, 3>, 6> steps{
            {{0, 0, -1}, {0, -1, 0}, {-1, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
        for (const auto& [dx, dy, dz] : steps) {
            const std::int32_t neighbor = m_task.distance.At(x + dx, y + dy, z + dz);
            if (neighbor > 0 && neighbor <= distance)
                AddProjectionOf(x, y, z, dx, dy, dz, pace);
        }
    }

    void AddProjectionOf(std::int64_t x, std::int64_t y, std::int64_t z, std::int32_t dx, std::int32_t dy,
                         std::int32_t dz, CWorkPace& pace) {
        const std::span<const StSite> sites = Plane(z + dz).Of(x + dx, y + dy, pace);
        for (const StSite& site : sites)
            m_projection.Add(site.x + dx, site.y + dy, site.z + dz);
        if (sites.size() >= c_manyPoints)
            (void)pace.Add(static_cast<std::int64_t>(sites.size() * m_projection.Size()));
    }

    const StTask& m_task;
    std::vector<CPlaneProjections> m_planes;
    CExtendedProjection m_projection;
};

} // namespace

void ComputeBisector(const IImage& squaredDistance, const IImage& mask, IImage& output, float minimumAngle,
                     const std::string& tablePath, IProgress& progress) {
    CWorkPace pace(progress);
    const CSquaredDistanceView distance(c_function, squaredDistance, progress, pace);
    RequireFitting(c_function, mask, IMAGE_BINARY_FG, squaredDistance);
    RequireFitting(c_function, output, IMAGE_GREY_F, squaredDistance);
    const CImageView<const unsigned char> selected(mask);
    const CImageView<float> angles(output);
    const auto spheres =
        pace.IsCancelled() ? nullptr : SpheresForImage(tablePath, std::max(distance.Greatest(), 1), pace);
    if (spheres == nullptr)
        return angles.Fill(0.0F);
    const CNearestSites sites(distance, *spheres);
    const StTask task{distance, selected, angles, sites, minimumAngle, SlabDepth(angles.nz)};
    const std::int64_t slabCount = (angles.nz + task.slabDepth - 1) / task.slabDepth;
    RequireMemory(c_function, c_lists,
                  std::min<std::int64_t>(ThreadCount(), slabCount) * CSlabWorker::BytesFor(distance));
    progress.Start(static_cast<unsigned>(slabCount), "bisector");
    const bool isDone = ParallelFor(slabCount, progress, [&task](CWorkerTurn& turn) {
        return [pace = CWorkPace(turn), worker = CSlabWorker(task)](std::int64_t slab) mutable {
            worker(slab, pace);
        };
    });
    if (!isDone)
        angles.Fill(0.0F);
    progress.Finish();
}

} // namespace ORVEN
