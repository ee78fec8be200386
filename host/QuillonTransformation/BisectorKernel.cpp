#include "QuillonTransformation/BisectorKernel.h"

#include "QuillonTransformation/CNearestSites.h"
#include "QuillonTransformation/CSquaredDistanceView.h"

#include <QuillonBase/Parallel.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <memory>
#include <span>
#include <vector>

// A projection is asked for by seven pixels. It is found when the first of them asks, and kept as long as its
// plane can be asked for: a window of three planes goes through a slab, row by row with the mask.

namespace ORVEN {

namespace {

const char* const c_function = "ComputeBisector";

/// Planes that a thread goes through in one piece. Each piece finds the projections of two more.
constexpr std::int64_t c_slabDepth = 16;

/// A vector to a nearest background pixel.
struct StSite {
    std::int16_t x;
    std::int16_t y;
    std::int16_t z;
};

/// The projections of the pixels of one plane that have been asked for.
class CPlaneProjections {
public:
    CPlaneProjections(const CSquaredDistanceView& distance, const CNearestSites& sites)
        : m_sites(sites)
        , m_nx(distance.nx)
        , m_entries(static_cast<std::size_t>(distance.nx * distance.ny)) {}

    void MoveTo(std::int64_t z) {
        m_z = z;
        m_found.clear();
        std::ranges::fill(m_entries, StEntry{});
    }

    /// The projection of an object pixel. Good until the next call.
    std::span<const StSite> Of(std::int64_t x, std::int64_t y) {
        StEntry& entry = m_entries[static_cast<std::size_t>(y * m_nx + x)];
        if (entry.count == 0)
            entry = Find(x, y);
        return std::span(m_found).subspan(entry.begin, entry.count);
    }

private:
    struct StEntry {
        std::uint32_t begin = 0;
        std::uint32_t count = 0; ///< 0 as long as nobody has asked
    };

    StEntry Find(std::int64_t x, std::int64_t y) {
        const std::size_t begin = m_found.size();
        m_sites.Visit(x, y, m_z, [this](std::int32_t vx, std::int32_t vy, std::int32_t vz) {
            m_found.push_back({static_cast<std::int16_t>(vx), static_cast<std::int16_t>(vy),
                               static_cast<std::int16_t>(vz)});
            return true;
        });
        return {static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(m_found.size() - begin)};
    }

    const CNearestSites& m_sites;
    std::int64_t m_nx;
    std::int64_t m_z = 0;
    std::vector<StEntry> m_entries;
    std::vector<StSite> m_found;
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

    /// The greatest angle between two of them.
    [[nodiscard]] float GreatestAngle() const {
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
                // Squares tell most pairs off without a root; the margin is wider than their rounding.
                if (wideDot * std::fabs(wideDot) >= (leastSquare + c_margin) * wide)
                    continue;
                leastCosine = std::min(leastCosine, wideDot / std::sqrt(wide));
                leastSquare = leastCosine * std::fabs(leastCosine);
            }
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

/// One call: what is the same for all slabs.
struct StTask {
    const CSquaredDistanceView& distance;
    const CImageView<const unsigned char>& mask;
    const CImageView<float>& output;
    const CNearestSites& sites;
    float minimumAngle;
};

class CSlabWorker {
public:
    explicit CSlabWorker(const StTask& task)
        : m_task(task)
        , m_planes(3, CPlaneProjections(task.distance, task.sites)) {}

    void operator()(std::int64_t slab) {
        const std::int64_t begin = slab * c_slabDepth;
        const std::int64_t end = std::min(begin + c_slabDepth, m_task.distance.nz);
        Plane(begin - 1).MoveTo(begin - 1);
        Plane(begin).MoveTo(begin);
        for (std::int64_t z = begin; z < end; ++z) {
            Plane(z + 1).MoveTo(z + 1);
            for (std::int64_t y = 0; y < m_task.distance.ny; ++y)
                ComputeRow(y, z);
        }
    }

private:
    CPlaneProjections& Plane(std::int64_t z) { return m_planes[static_cast<std::size_t>((z + 3) % 3)]; }

    void ComputeRow(std::int64_t y, std::int64_t z) {
        const std::int32_t* const distances = m_task.distance.Row(y, z);
        const unsigned char* const mask = m_task.mask.Row(y, z);
        float* const angles = m_task.output.Row(y, z);
        for (std::int64_t x = 0; x < m_task.distance.nx; ++x) {
            if (mask[x] == 0 || distances[x] == 0)
                continue;
            Project(x, y, z, distances[x]);
            const float angle = m_projection.GreatestAngle();
            if (angle >= m_task.minimumAngle)
                angles[x] = angle;
        }
    }

    void Project(std::int64_t x, std::int64_t y, std::int64_t z, std::int32_t distance) {
        m_projection.Clear();
        AddProjectionOf(x, y, z, 0, 0, 0);
        constexpr std::array<std::array<std::int32_t, 3>, 6> steps{
            {{0, 0, -1}, {0, -1, 0}, {-1, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
        for (const auto& [dx, dy, dz] : steps) {
            const std::int32_t neighbor = m_task.distance.At(x + dx, y + dy, z + dz);
            if (neighbor > 0 && neighbor <= distance)
                AddProjectionOf(x, y, z, dx, dy, dz);
        }
    }

    void AddProjectionOf(std::int64_t x, std::int64_t y, std::int64_t z, std::int32_t dx, std::int32_t dy,
                         std::int32_t dz) {
        for (const StSite& site : Plane(z + dz).Of(x + dx, y + dy))
            m_projection.Add(site.x + dx, site.y + dy, site.z + dz);
    }

    const StTask& m_task;
    std::vector<CPlaneProjections> m_planes;
    CExtendedProjection m_projection;
};

} // namespace

void ComputeBisector(const IImage& squaredDistance, const IImage& mask, IImage& output, float minimumAngle,
                     const std::string& tablePath, IProgress& progress) {
    const CSquaredDistanceView distance(c_function, squaredDistance);
    RequireFitting(c_function, mask, IMAGE_BINARY_FG, squaredDistance);
    RequireFitting(c_function, output, IMAGE_GREY_F, squaredDistance);
    const CImageView<const unsigned char> selected(mask);
    const CImageView<float> angles(output);
    for (std::int64_t z = 0; z < angles.nz; ++z) {
        for (std::int64_t y = 0; y < angles.ny; ++y)
            std::fill_n(angles.Row(y, z), angles.nx, 0.0F);
    }
    const auto spheres = SpheresForImage(tablePath, std::max(distance.Greatest(), 1));
    const CNearestSites sites(distance, *spheres);
    const StTask task{distance, selected, angles, sites, minimumAngle};
    const std::int64_t slabCount = (angles.nz + c_slabDepth - 1) / c_slabDepth;
    progress.Start(static_cast<unsigned>(slabCount), "bisector");
    ParallelFor(slabCount, progress, [&task] {
        const auto worker = std::make_shared<CSlabWorker>(task);
        return [worker](std::int64_t slab) { (*worker)(slab); };
    });
    progress.Finish();
}

} // namespace ORVEN
