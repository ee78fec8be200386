#include "QuillonGranulometry/PaintBalls.h"

#include "QuillonGranulometry/FloorSqrt.h"

#include <QuillonBase/CWorkPace.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <span>
#include <utility>
#include <vector>

namespace ORVEN {

namespace {

struct StBall {
    std::int32_t squaredRadius;
    std::uint16_t x;
    std::uint16_t y;
    std::uint16_t z;
};

/// A list of balls with a fixed capacity.
class CBallList {
public:
    explicit CBallList(std::int64_t greatestSize)
        : m_capacity(static_cast<std::size_t>(greatestSize))
        , m_balls(std::make_unique_for_overwrite<StBall[]>(m_capacity)) {}

    void Append(const StBall& ball) { m_balls[m_size++] = ball; }
    [[nodiscard]] std::span<const StBall> Balls() const { return {m_balls.get(), m_size}; }

    /// Sorts by decreasing size. The order of equal balls does not affect the result. Returns false if
    /// cancelled.
    bool Sort(std::int32_t greatest, CWorkPace& pace) {
        constexpr std::size_t few = 1 << 14;
        if (m_size <= few) {
            std::ranges::sort(m_balls.get(), m_balls.get() + m_size, std::ranges::greater(),
                              &StBall::squaredRadius);
            return !pace.Add(static_cast<std::int64_t>(m_size) * 64);
        }
        // Radix sort, which can be cancelled at any time.
        auto sorted = std::make_unique_for_overwrite<StBall[]>(m_capacity);
        for (int shift = 0; greatest >> shift > 0; shift += c_digitBits) {
            const auto digitOf = [greatest, shift](const StBall& ball) {
                return static_cast<std::size_t>(greatest - ball.squaredRadius) >> shift & (c_digitCount - 1);
            };
            std::array<std::size_t, c_digitCount> places{};
            const auto forEach = [&](const auto& body) {
                return ForEachPiece(static_cast<std::int64_t>(m_size), c_unitsPerBall, pace,
                                    [&](std::int64_t first, std::int64_t end) {
                                        std::for_each(m_balls.get() + first, m_balls.get() + end, body);
                                    });
            };
            if (!forEach([&](const StBall& ball) { ++places[digitOf(ball)]; }))
                return false;
            std::size_t place = 0;
            for (std::size_t& next : places)
                next = std::exchange(place, place + next);
            if (!forEach([&](const StBall& ball) { sorted[places[digitOf(ball)]++] = ball; }))
                return false;
            m_balls.swap(sorted);
        }
        return true;
    }

private:
    static constexpr int c_digitBits = 11;
    static constexpr std::size_t c_digitCount = std::size_t{1} << c_digitBits;
    static constexpr std::int64_t c_unitsPerBall = 8;

    std::size_t m_capacity;
    std::size_t m_size = 0;
    std::unique_ptr<StBall[]> m_balls;
};

/// The rows of a ball at non-negative offsets along y and z, as half widths excluding the centre.
class CBallShape {
public:
    CBallShape(std::int64_t greatestY, std::int64_t greatestZ)
        : m_greatestY(greatestY)
        , m_greatestZ(greatestZ) {}

    /// Omits rows beyond the greatest offsets. The shape is incomplete if cancelled.
    void Set(std::int64_t squaredRadius, CWorkPace& pace) {
        m_squaredRadius = squaredRadius;
        m_widths.clear();
        m_begins.assign(1, 0);
        for (std::int64_t z = 0; z <= m_greatestZ && z * z < squaredRadius; ++z) {
            for (std::int64_t y = 0; y <= m_greatestY && z * z + y * y < squaredRadius; ++y)
                m_widths.push_back(static_cast<std::int32_t>(FloorSqrt(squaredRadius - 1 - z * z - y * y)));
            m_begins.push_back(m_widths.size());
            if (pace.Add(8 * static_cast<std::int64_t>(m_widths.size() - m_begins[m_begins.size() - 2])))
                return;
        }
    }

    [[nodiscard]] std::int64_t SquaredRadius() const { return m_squaredRadius; }
    [[nodiscard]] std::int64_t ReachZ() const { return static_cast<std::int64_t>(m_begins.size()) - 2; }
    /// Indexed by y, up to the extent of the ball at z.
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

/// Paints one slab and keeps track of its unpainted pixels.
class CSlab {
public:
    CSlab(const StBalls& balls, const CLayerView<float>& output, std::int64_t firstZ, std::int64_t endZ,
          CWorkPace& pace)
        : m_balls(balls)
        , m_output(output)
        , m_pace(pace)
        , m_firstZ(firstZ)
        , m_endZ(endZ)
        , m_unpainted(output.nx, (endZ - firstZ) * output.ny)
        , m_openRows(output.ny, endZ - firstZ)
        , m_unpaintedCounts(static_cast<std::size_t>((endZ - firstZ) * output.ny), 0)
        , m_shape(output.ny - 1, output.nz - 1) {
        output.ForEachRow(firstZ, endZ, 16, pace,
                          [this](std::int64_t y, std::int64_t z) { PrepareRow(y, z); });
    }

    /// The result is meaningless if cancelled.
    [[nodiscard]] SquaredSizes Paint() {
        SquaredSizes sizes;
        CBallList order = BallsThatReach();
        if (m_pace.IsCancelled() || !order.Sort(m_balls.greatestDistance, m_pace))
            return sizes;
        std::int64_t painted = 0;
        for (const StBall& ball : order.Balls()) {
            if (m_unpaintedCount == 0 || m_pace.IsCancelled())
                break;
            if (ball.squaredRadius != m_shape.SquaredRadius()) {
                AddTo(sizes, painted);
                painted = 0;
                m_shape.Set(ball.squaredRadius, m_pace);
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

    [[nodiscard]] CBallList BallsThatReach() const {
        const std::int64_t reach = FloorSqrt(m_balls.greatestDistance - 1);
        const std::int64_t firstZ = std::max<std::int64_t>(m_firstZ - reach, 0);
        const std::int64_t endZ = std::min(m_endZ + reach, m_output.nz);
        std::int64_t candidateCount = 0;
        m_output.ForEachRow(firstZ, endZ, 1, m_pace, [&](std::int64_t y, std::int64_t z) {
            candidateCount += m_balls.candidates.CountOf(m_output.RowNumber(y, z));
        });
        CBallList balls(candidateCount);
        m_output.ForEachRow(firstZ, endZ, 8, m_pace, [&](std::int64_t y, std::int64_t z) {
            const std::int64_t gap = std::max({m_firstZ - z, z - (m_endZ - 1), std::int64_t{0}});
            const std::int32_t* const distances = m_balls.distances.Row(y, z);
            m_balls.candidates.ForEach(m_output.RowNumber(y, z), 0, m_output.nx - 1, [&](std::int64_t x) {
                if (distances[x] > gap * gap) {
                    balls.Append({distances[x], static_cast<std::uint16_t>(x), static_cast<std::uint16_t>(y),
                                  static_cast<std::uint16_t>(z)});
                }
            });
        });
        return balls;
    }

    /// Returns the number of pixels newly painted.
    std::int64_t Paint(const StBall& ball) {
        const float pixel = PixelOf(ball.squaredRadius);
        const std::int64_t reachZ = m_shape.ReachZ();
        const std::int64_t lastZ = std::min(ball.z + reachZ, m_endZ - 1);
        std::int64_t painted = 0;
        for (std::int64_t z = std::max(ball.z - reachZ, m_firstZ); z <= lastZ; ++z) {
            std::int64_t rows = 0;
            const std::int64_t paintedBefore = painted;
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
                ++rows;
                std::int64_t& unpainted = m_unpaintedCounts[static_cast<std::size_t>(RowInSlab(y, z))];
                unpainted -= count;
                if (unpainted == 0)
                    m_openRows.Clear(z - m_firstZ, y);
            });
            if (m_pace.Add(rows * (c_unitsPerRow + reachY / 32) + 8 * (painted - paintedBefore)))
                break;
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

    static constexpr std::int64_t c_unitsPerRow = 64;

    const StBalls& m_balls;
    const CLayerView<float>& m_output;
    CWorkPace& m_pace;
    std::int64_t m_firstZ;
    std::int64_t m_endZ;
    CBitRows m_unpainted;
    CBitRows m_openRows;                         ///< for each layer, the rows with unpainted pixels
    std::vector<std::int64_t> m_unpaintedCounts; ///< for each row
    std::int64_t m_unpaintedCount = 0;
    CBallShape m_shape;
};

} // namespace

bool PaintBalls(const StBalls& balls, const CLayerView<float>& output, SquaredSizes& sizes,
                IProgress& progress) {
    // A slab searches the layers around it as far as the largest ball reaches. Thinner slabs would spend most
    // of their time on that.
    constexpr std::int64_t leastThickness = 16;
    const std::int64_t thickness =
        std::max({leastThickness, output.LayersPerItem(), FloorSqrt(balls.greatestDistance)});
    const std::int64_t slabCount = (output.nz + thickness - 1) / thickness;
    std::vector<SquaredSizes> sizesOfSlabs(static_cast<std::size_t>(slabCount));
    progress.Start(static_cast<unsigned>(slabCount), "opening sizes");
    const bool isDone = ParallelFor(slabCount, progress, [&](CWorkerTurn& turn) {
        return [&, pace = CWorkPace(turn)](std::int64_t slab) mutable {
            const std::int64_t firstZ = slab * thickness;
            const std::int64_t endZ = std::min(firstZ + thickness, output.nz);
            sizesOfSlabs[static_cast<std::size_t>(slab)] = CSlab(balls, output, firstZ, endZ, pace).Paint();
        };
    });
    progress.Finish();
    if (!isDone)
        return false;
    CWorkPace pace(progress);
    for (const SquaredSizes& sizesOfSlab : sizesOfSlabs) {
        for (const auto& [squaredDistance, count] : sizesOfSlab) {
            sizes[squaredDistance] += count;
            if (pace.Add(64))
                return false;
        }
    }
    return true;
}

} // namespace ORVEN
