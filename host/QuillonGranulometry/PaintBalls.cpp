#include "QuillonGranulometry/PaintBalls.h"

#include "QuillonGranulometry/FloorSqrt.h"

#include <QuillonBase/Parallel.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

namespace ORVEN {

namespace {

struct StBall {
    std::int32_t squaredRadius;
    std::uint16_t x;
    std::uint16_t y;
    std::uint16_t z;
};

/// Half the widths of the rows of a ball, its middle left out, at offsets from 0 on along y and z.
class CBallShape {
public:
    CBallShape(std::int64_t greatestY, std::int64_t greatestZ)
        : m_greatestY(greatestY)
        , m_greatestZ(greatestZ) {}

    /// Rows farther away than the greatest offsets are left out.
    void Set(std::int64_t squaredRadius) {
        m_squaredRadius = squaredRadius;
        m_widths.clear();
        m_begins.assign(1, 0);
        for (std::int64_t z = 0; z <= m_greatestZ && z * z < squaredRadius; ++z) {
            for (std::int64_t y = 0; y <= m_greatestY && z * z + y * y < squaredRadius; ++y)
                m_widths.push_back(static_cast<std::int32_t>(FloorSqrt(squaredRadius - 1 - z * z - y * y)));
            m_begins.push_back(m_widths.size());
        }
    }

    [[nodiscard]] std::int64_t SquaredRadius() const { return m_squaredRadius; }
    [[nodiscard]] std::int64_t ReachZ() const { return static_cast<std::int64_t>(m_begins.size()) - 2; }
    /// By y, as far as the ball reaches there.
    [[nodiscard]] std::span<const std::int32_t> WidthsAt(std::int64_t z) const {
        const auto layer = static_cast<std::size_t>(z);
        return std::span(m_widths).subspan(m_begins[layer], m_begins[layer + 1] - m_begins[layer]);
    }

private:
    std::int64_t m_greatestY;
    std::int64_t m_greatestZ;
    std::int64_t m_squaredRadius = 0;
    std::vector<std::int32_t> m_widths;
    std::vector<std::size_t> m_begins;
};

/// One slab: which of its pixels are still to be painted, and the painting.
class CSlab {
public:
    CSlab(const StBalls& balls, const CLayerView<float>& output, std::int64_t firstZ, std::int64_t endZ)
        : m_balls(balls)
        , m_output(output)
        , m_firstZ(firstZ)
        , m_endZ(endZ)
        , m_unpainted(output.nx, (endZ - firstZ) * output.ny)
        , m_openRows(output.ny, endZ - firstZ)
        , m_unpaintedCounts(static_cast<std::size_t>((endZ - firstZ) * output.ny), 0)
        , m_shape(output.ny - 1, output.nz - 1) {
        for (std::int64_t z = firstZ; z < endZ; ++z) {
            for (std::int64_t y = 0; y < output.ny; ++y)
                PrepareRow(y, z);
        }
    }

    [[nodiscard]] SquaredSizes Paint() {
        std::vector<StBall> order = BallsThatReach();
        // The place of a ball among equal ones does not show.
        std::ranges::sort(order, std::ranges::greater(), &StBall::squaredRadius);
        SquaredSizes sizes;
        std::int64_t painted = 0;
        for (const StBall& ball : order) {
            if (m_unpaintedCount == 0)
                break;
            if (ball.squaredRadius != m_shape.SquaredRadius()) {
                AddTo(sizes, painted);
                painted = 0;
                m_shape.Set(ball.squaredRadius);
            }
            painted += Paint(ball);
        }
        AddTo(sizes, painted);
        return sizes;
    }

private:
    void PrepareRow(std::int64_t y, std::int64_t z) {
        const std::int32_t* const distances = m_balls.distances.Row(y, z);
        const std::int64_t row = RowInSlab(y, z);
        std::int64_t count = 0;
        for (std::int64_t x = 0; x < m_output.nx; ++x) {
            if (distances[x] > 0) {
                m_unpainted.Set(row, x);
                ++count;
            }
        }
        std::fill_n(m_output.Row(y, z), m_output.nx, PixelOf(0));
        if (count > 0)
            m_openRows.Set(z - m_firstZ, y);
        m_unpaintedCounts[static_cast<std::size_t>(row)] = count;
        m_unpaintedCount += count;
    }

    [[nodiscard]] std::vector<StBall> BallsThatReach() const {
        const std::int64_t reach = FloorSqrt(m_balls.greatestDistance - 1);
        const std::int64_t endZ = std::min(m_endZ + reach, m_output.nz);
        std::vector<StBall> balls;
        for (std::int64_t z = std::max<std::int64_t>(m_firstZ - reach, 0); z < endZ; ++z) {
            const std::int64_t gap = std::max({m_firstZ - z, z - (m_endZ - 1), std::int64_t{0}});
            for (std::int64_t y = 0; y < m_output.ny; ++y) {
                const std::int32_t* const distances = m_balls.distances.Row(y, z);
                m_balls.candidates.ForEach(m_output.RowNumber(y, z), 0, m_output.nx - 1, [&](std::int64_t x) {
                    if (distances[x] > gap * gap) {
                        balls.push_back({distances[x], static_cast<std::uint16_t>(x),
                                         static_cast<std::uint16_t>(y), static_cast<std::uint16_t>(z)});
                    }
                });
            }
        }
        return balls;
    }

    /// Returns how many pixels were still to be painted.
    std::int64_t Paint(const StBall& ball) {
        const float pixel = PixelOf(ball.squaredRadius);
        const std::int64_t reachZ = m_shape.ReachZ();
        const std::int64_t lastZ = std::min(ball.z + reachZ, m_endZ - 1);
        std::int64_t painted = 0;
        for (std::int64_t z = std::max(ball.z - reachZ, m_firstZ); z <= lastZ; ++z) {
            const std::span<const std::int32_t> widths = m_shape.WidthsAt(std::abs(z - ball.z));
            const std::int64_t reachY = static_cast<std::int64_t>(widths.size()) - 1;
            const std::int64_t lastY = std::min(ball.y + reachY, m_output.ny - 1);
            const std::int64_t firstY = std::max<std::int64_t>(ball.y - reachY, 0);
            m_openRows.ForEach(z - m_firstZ, firstY, lastY, [&](std::int64_t y) {
                const std::int64_t width = widths[static_cast<std::size_t>(std::abs(y - ball.y))];
                float* const pixels = m_output.Row(y, z);
                const std::int64_t count = m_unpainted.TakeAll(
                    RowInSlab(y, z), std::max<std::int64_t>(ball.x - width, 0),
                    std::min(ball.x + width, m_output.nx - 1), [&](std::int64_t x) { pixels[x] = pixel; });
                painted += count;
                std::int64_t& unpainted = m_unpaintedCounts[static_cast<std::size_t>(RowInSlab(y, z))];
                unpainted -= count;
                if (unpainted == 0)
                    m_openRows.Clear(z - m_firstZ, y);
            });
        }
        m_unpaintedCount -= painted;
        return painted;
    }

    void AddTo(SquaredSizes& sizes, std::int64_t painted) const {
        if (painted > 0)
            sizes[static_cast<std::int32_t>(m_shape.SquaredRadius())] += static_cast<std::uint64_t>(painted);
    }

    [[nodiscard]] std::int64_t RowInSlab(std::int64_t y, std::int64_t z) const {
        return (z - m_firstZ) * m_output.ny + y;
    }

    const StBalls& m_balls;
    const CLayerView<float>& m_output;
    std::int64_t m_firstZ;
    std::int64_t m_endZ;
    CBitRows m_unpainted;
    CBitRows m_openRows;                         ///< by layer: the rows with a pixel still to be painted
    std::vector<std::int64_t> m_unpaintedCounts; ///< by row
    std::int64_t m_unpaintedCount = 0;
    CBallShape m_shape;
};

} // namespace

bool PaintBalls(const StBalls& balls, const CLayerView<float>& output, SquaredSizes& sizes,
                IProgress& progress) {
    // A slab looks through the layers around it, as far as the largest ball reaches. Thinner ones would
    // mostly do that.
    constexpr std::int64_t leastThickness = 16;
    const std::int64_t thickness =
        std::max({leastThickness, output.LayersPerItem(), FloorSqrt(balls.greatestDistance)});
    const std::int64_t slabCount = (output.nz + thickness - 1) / thickness;
    std::mutex guard;
    progress.Start(static_cast<unsigned>(slabCount), "opening sizes");
    const bool isDone = ParallelFor(slabCount, progress, [&] {
        return [&](std::int64_t slab) {
            const std::int64_t firstZ = slab * thickness;
            const SquaredSizes painted =
                CSlab(balls, output, firstZ, std::min(firstZ + thickness, output.nz)).Paint();
            const std::lock_guard lock(guard);
            for (const auto& [squaredDistance, count] : painted)
                sizes[squaredDistance] += count;
        };
    });
    progress.Finish();
    return isDone;
}

} // namespace ORVEN
