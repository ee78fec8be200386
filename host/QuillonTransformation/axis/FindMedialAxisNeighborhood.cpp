#include "QuillonTransformation/axis/FindMedialAxisNeighborhood.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace ORVEN {

namespace {

/// The index of a sorted vector among all, ordered by a, then b, then c.
std::size_t PlaceOf(std::int64_t a, std::int64_t b, std::int64_t c) {
    return static_cast<std::size_t>(a * (a + 1) * (a + 2) / 6 + b * (b + 1) / 2 + c);
}

std::size_t PlaceOf(const StSortedVector& vector) { return PlaceOf(vector.a, vector.b, vector.c); }

std::int32_t Dot(const StSortedVector& u, const StSortedVector& v) {
    return u.a * v.a + u.b * v.b + u.c * v.c;
}

std::int32_t RootOf(std::int32_t square) {
    std::int32_t root = 0;
    while ((root + 1) * (root + 1) <= square)
        ++root;
    return root;
}

/// The balls around a point, {|u|^2 < R}, growing with R, and for each vector in the ball the squared
/// distance D to the outside. Each sorted vector represents its 48 images.
class CGrowingBall {
public:
    explicit CGrowingBall(const CSphereVectors& spheres)
        : m_spheres(spheres)
        // The search looks up vectors displaced by up to the vector's own length.
        , m_cells(PlaceOf(2 * RootOf(spheres.Reach()) + 2, 0, 0))
        , m_waiting(static_cast<std::size_t>(spheres.Reach()) + 1) {}

    /// Grows the ball from squared radius `previous` to the next one, R, by adding the vectors of squared
    /// length `previous`. Returns the indices in `spheres.All()` of the vectors whose distance has changed,
    /// ascending.
    std::vector<std::uint32_t> Grow(std::int32_t previous, std::int32_t next) {
        auto& changed = m_waiting[static_cast<std::size_t>(previous)];
        const std::uint32_t begin = m_spheres.Starts()[static_cast<std::size_t>(previous)];
        for (std::size_t i = 0; i < m_spheres.OfLength(previous).size(); ++i) {
            const auto vector = begin + static_cast<std::uint32_t>(i);
            m_cells[PlaceOf(m_spheres.All()[vector])].farthest = previous;
            changed.push_back(vector);
        }
        std::ranges::sort(changed);
        for (const std::uint32_t vector : changed) {
            const std::int32_t farthest = Advance(m_spheres.All()[vector], next);
            if (farthest <= m_spheres.Reach())
                m_waiting[static_cast<std::size_t>(farthest)].push_back(vector);
        }
        return std::exchange(changed, {});
    }

    /// D; 0 outside the ball.
    [[nodiscard]] std::int32_t Distance(std::size_t place) const { return m_cells[place].distance; }

private:
    struct StCell {
        std::int32_t distance = 0;
        std::int32_t farthest = 0; ///< the largest squared length reached by a step of `distance`
    };

    /// Increases D until a step of that length leads out of the ball.
    std::int32_t Advance(const StSortedVector& from, std::int32_t radius) {
        StCell& cell = m_cells[PlaceOf(from)];
        const std::int32_t length = from.SquaredLength();
        while (cell.farthest < radius) {
            ++cell.distance;
            // Of all images of a step, the sorted one leads farthest.
            for (const StSortedVector& step : m_spheres.OfLength(cell.distance))
                cell.farthest = std::max(cell.farthest, length + cell.distance + 2 * Dot(from, step));
        }
        return cell.farthest;
    }

    const CSphereVectors& m_spheres;
    std::vector<StCell> m_cells;
    std::vector<std::vector<std::uint32_t>> m_waiting; ///< vectors by `farthest`
};

/// The list found so far, with the data that the test of a pixel needs.
class CNeighborhoodSearch {
public:
    explicit CNeighborhoodSearch(const CSphereVectors& spheres)
        : m_spheres(spheres)
        , m_ball(spheres)
        , m_lastCover(spheres.All().size(), 0) {}

    /// Completes the list for the next ball.
    void Grow(std::int32_t previous, std::int32_t next) {
        for (const std::uint32_t vector : m_ball.Grow(previous, next)) {
            if (m_spheres.All()[vector].a != 0 && !IsCovered(vector))
                Add(vector, next);
        }
    }

    [[nodiscard]] std::vector<StMedialAxisGenerator> TakeGenerators() { return std::move(m_generators); }

private:
    bool IsCovered(std::uint32_t vector) {
        const StSortedVector& from = m_spheres.All()[vector];
        const std::int32_t distance = m_ball.Distance(PlaceOf(from));
        std::uint32_t& lastCover = m_lastCover[vector];
        if (lastCover < m_generators.size() && IsCoveredBy(from, distance, lastCover))
            return true;
        for (std::uint32_t i = 0; i < m_generators.size(); ++i) {
            if (IsCoveredBy(from, distance, i)) {
                lastCover = i;
                return true;
            }
        }
        return false;
    }

    [[nodiscard]] bool IsCoveredBy(const StSortedVector& from, std::int32_t distance, std::size_t i) const {
        if (static_cast<std::uint32_t>(distance) < m_generators[i].leastDistance)
            return false;
        const std::int32_t needed = m_reachOf[i][static_cast<std::size_t>(distance)];
        return std::ranges::any_of(m_imagesOf[i], [&](const std::array<std::int16_t, 3>& step) {
            const StSortedVector to = SortedImageOf(from.a + step[0], from.b + step[1], from.c + step[2]);
            return m_ball.Distance(PlaceOf(to)) > needed;
        });
    }

    void Add(std::uint32_t vector, std::int32_t radius) {
        const StSortedVector& added = m_spheres.All()[vector];
        const auto distance = static_cast<std::uint32_t>(m_ball.Distance(PlaceOf(added)));
        m_generators.push_back({added, distance, static_cast<std::uint32_t>(radius)});
        auto& images = m_imagesOf.emplace_back();
        ForEachImage(added, [&images](int x, int y, int z) {
            images.push_back(
                {static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), static_cast<std::int16_t>(z)});
            return true;
        });
        m_reachOf.push_back(ReachOf(added));
    }

    /// Indexed by squared radius R: the largest squared distance from v to a point of the ball {|u|^2 < R}.
    [[nodiscard]] std::vector<std::int32_t> ReachOf(const StSortedVector& v) const {
        std::vector<std::int32_t> reach(static_cast<std::size_t>(m_spheres.Reach()) + 1, 0);
        std::int32_t greatest = 0;
        for (std::int32_t length = 0; length < m_spheres.Reach(); ++length) {
            for (const StSortedVector& u : m_spheres.OfLength(length))
                greatest = std::max(greatest, length + 2 * Dot(u, v) + v.SquaredLength());
            reach[static_cast<std::size_t>(length) + 1] = greatest;
        }
        return reach;
    }

    const CSphereVectors& m_spheres;
    CGrowingBall m_ball;
    std::vector<std::uint32_t> m_lastCover; ///< index of the generator, by vector
    std::vector<StMedialAxisGenerator> m_generators;
    std::vector<std::vector<std::array<std::int16_t, 3>>> m_imagesOf; ///< by generator
    std::vector<std::vector<std::int32_t>> m_reachOf;                 ///< by generator and squared radius
};

} // namespace

StMedialAxisNeighborhood
FindMedialAxisNeighborhood(std::int32_t reach,
                           const std::function<bool(std::int32_t squaredRadius)>& isCancelled) {
    const CSphereVectors spheres(reach);
    CNeighborhoodSearch search(spheres);
    std::int32_t previous = 0;
    std::int32_t radius = 1;
    for (; radius <= reach && (!isCancelled || !isCancelled(radius)); ++radius) {
        if (spheres.OfLength(radius).empty())
            continue;
        search.Grow(previous, radius);
        previous = radius;
    }
    return {static_cast<std::uint32_t>(radius - 1), search.TakeGenerators()};
}

} // namespace ORVEN
