#include "QuillonNumeric/ConvexHull3d.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <random>

namespace ORVEN {

namespace {

constexpr std::uint32_t c_none = 0xFFFFFFFFU;

/// Whether the point increases the dimension spanned by up to three independent points.
bool IsIndependent(std::span<const StLatticePoint> points, std::span<const std::uint32_t> found,
                   const StLatticePoint& candidate) {
    if (found.empty())
        return true;
    const StLatticePoint& origin = points[found[0]];
    const StLatticePoint way = candidate - origin;
    if (found.size() == 1)
        return way != StLatticePoint{};
    const StLatticePoint first = points[found[1]] - origin;
    if (found.size() == 2)
        return Cross(first, way) != StLatticePoint{};
    return Dot(Cross(first, points[found[2]] - origin), way) != 0;
}

/// A hull that grows by inserting points.
///
/// Each point that is still outside stores one facet that it sees, and each facet a list of the points that
/// store it. Inserting a point removes all facets that it sees and connects the point to the edges of the
/// hole. A point sees a facet if it is strictly above its plane. With exact arithmetic the facets seen
/// therefore form a disc bounded by a single cycle of edges, and no new facet is degenerate, even if many
/// points are coplanar.
class CGrowingHull {
public:
    CGrowingHull(std::span<const StLatticePoint> points, std::span<const std::uint32_t, 4> start)
        : m_points(points)
        , m_seenFacet(points.size(), c_none)
        , m_nextOfFacet(points.size(), c_none)
        , m_facetFrom(points.size(), c_none) {
        MakeTetrahedron(start);
        std::array<std::uint32_t, 4> all{};
        std::iota(all.begin(), all.end(), 0U);
        for (std::uint32_t point = 0; point < points.size(); ++point)
            Assign(point, all);
    }

    void Insert(std::uint32_t point) {
        if (m_seenFacet[point] == c_none)
            return;
        FindSeenFacets(point);
        CoverHole(point);
        for (const std::uint32_t facet : m_seen) {
            ReassignPoints(facet, point);
            m_facets[facet].isSeen = false;
            m_facets[facet].isInUse = false;
            m_unused.push_back(facet);
        }
        m_seenFacet[point] = c_none;
    }

    [[nodiscard]] std::vector<StHullFacet> Facets() const {
        std::vector<StHullFacet> facets;
        for (const StFacet& facet : m_facets) {
            if (facet.isInUse) {
                facets.push_back(
                    {{m_points[facet.corners[0]], m_points[facet.corners[1]], m_points[facet.corners[2]]},
                     facet.normal,
                     facet.offset});
            }
        }
        return facets;
    }

private:
    struct StFacet {
        std::array<std::uint32_t, 3> corners;   // counter-clockwise, seen from outside
        std::array<std::uint32_t, 3> neighbors; // across the edge from the corner of that index to the next
        StLatticePoint normal;
        std::int64_t offset;
        std::uint32_t firstPoint; // head of the list of points that store the facet
        bool isSeen;
        bool isInUse;
    };

    /// An edge of the hole, in the direction that it has in the removed facet.
    struct StEdge {
        std::uint32_t from;
        std::uint32_t to;
        std::uint32_t outerFacet;
    };

    static std::size_t Next(std::size_t corner) { return corner == 2 ? 0 : corner + 1; }

    [[nodiscard]] bool Sees(std::uint32_t point, std::uint32_t facet) const {
        return Dot(m_facets[facet].normal, m_points[point]) > m_facets[facet].offset;
    }

    [[nodiscard]] StFacet MakeFacet(std::uint32_t a, std::uint32_t b, std::uint32_t c) const {
        const StLatticePoint normal = Cross(m_points[b] - m_points[a], m_points[c] - m_points[a]);
        return {{a, b, c}, {c_none, c_none, c_none}, normal, Dot(normal, m_points[a]), c_none, false, true};
    }

    void MakeTetrahedron(std::span<const std::uint32_t, 4> start) {
        std::array<std::uint32_t, 4> p{start[0], start[1], start[2], start[3]};
        const StFacet base = MakeFacet(p[0], p[1], p[2]);
        if (Dot(base.normal, m_points[p[3]]) > base.offset)
            std::swap(p[0], p[1]); // the fourth point must be below the first facet
        m_facets = {MakeFacet(p[0], p[1], p[2]), MakeFacet(p[1], p[0], p[3]), MakeFacet(p[2], p[1], p[3]),
                    MakeFacet(p[0], p[2], p[3])};
        m_facets[0].neighbors = {1, 2, 3};
        m_facets[1].neighbors = {0, 3, 2};
        m_facets[2].neighbors = {0, 1, 3};
        m_facets[3].neighbors = {0, 2, 1};
    }

    /// Stores for the point the first of the facets that it sees, if any.
    void Assign(std::uint32_t point, std::span<const std::uint32_t> facets) {
        const auto seen =
            std::ranges::find_if(facets, [&](std::uint32_t facet) { return Sees(point, facet); });
        m_seenFacet[point] = seen != facets.end() ? *seen : c_none;
        if (seen != facets.end()) {
            m_nextOfFacet[point] = m_facets[*seen].firstPoint;
            m_facets[*seen].firstPoint = point;
        }
    }

    /// Starting from the stored facet of the point, finds all facets that it sees and the edges around them.
    void FindSeenFacets(std::uint32_t point) {
        m_seen.assign(1, m_seenFacet[point]);
        m_facets[m_seenFacet[point]].isSeen = true;
        m_edges.clear();
        for (std::size_t i = 0; i < m_seen.size(); ++i) {
            const StFacet& facet = m_facets[m_seen[i]];
            for (std::size_t side = 0; side < 3; ++side) {
                const std::uint32_t neighbor = facet.neighbors[side];
                if (m_facets[neighbor].isSeen)
                    continue;
                if (Sees(point, neighbor)) {
                    m_facets[neighbor].isSeen = true;
                    m_seen.push_back(neighbor);
                } else {
                    m_edges.push_back({facet.corners[side], facet.corners[Next(side)], neighbor});
                }
            }
        }
    }

    [[nodiscard]] std::uint32_t Store(const StFacet& facet) {
        if (m_unused.empty()) {
            m_facets.push_back(facet);
            return static_cast<std::uint32_t>(m_facets.size() - 1);
        }
        const std::uint32_t index = m_unused.back();
        m_unused.pop_back();
        m_facets[index] = facet;
        return index;
    }

    /// Connects the point to the edges of the hole.
    void CoverHole(std::uint32_t point) {
        m_new.clear();
        for (const StEdge& edge : m_edges) {
            StFacet facet = MakeFacet(edge.from, edge.to, point);
            facet.neighbors[0] = edge.outerFacet;
            const std::uint32_t index = Store(facet);
            m_facetFrom[edge.from] = index;
            m_new.push_back(index);
            StFacet& outer = m_facets[edge.outerFacet];
            for (std::size_t side = 0; side < 3; ++side) {
                if (outer.corners[side] == edge.to && outer.corners[Next(side)] == edge.from)
                    outer.neighbors[side] = index;
            }
        }
        for (const std::uint32_t index : m_new) {
            const std::uint32_t following = m_facetFrom[m_facets[index].corners[1]];
            m_facets[index].neighbors[1] = following;
            m_facets[following].neighbors[2] = index;
        }
    }

    /// Moves the points of a removed facet to the new facets. A point that is still outside sees one of them:
    /// the segment from it to the centre of the removed facet stays above the plane of that facet, hence
    /// outside the old hull, and can therefore enter the new hull only through a new facet.
    void ReassignPoints(std::uint32_t facet, std::uint32_t inserted) {
        std::uint32_t point = m_facets[facet].firstPoint;
        while (point != c_none) {
            const std::uint32_t next = m_nextOfFacet[point];
            if (point != inserted)
                Assign(point, m_new);
            point = next;
        }
    }

    std::span<const StLatticePoint> m_points;
    std::vector<StFacet> m_facets;
    std::vector<std::uint32_t> m_unused;      // indices of facets
    std::vector<std::uint32_t> m_seenFacet;   // by point: the facet that it stores
    std::vector<std::uint32_t> m_nextOfFacet; // by point: the next one that stores the same facet
    std::vector<std::uint32_t> m_facetFrom;   // by point: the new facet whose edge starts there
    // Scratch memory of one insertion.
    std::vector<std::uint32_t> m_seen;
    std::vector<std::uint32_t> m_new;
    std::vector<StEdge> m_edges;
};

} // namespace

std::vector<std::uint32_t> AffinelyIndependentPoints(std::span<const StLatticePoint> points) {
    std::vector<std::uint32_t> found;
    for (std::uint32_t point = 0; point < points.size() && found.size() < 4; ++point) {
        if (IsIndependent(points, found, points[point]))
            found.push_back(point);
    }
    return found;
}

std::vector<StHullFacet> ConvexHull3d(std::span<const StLatticePoint> points,
                                      std::span<const std::uint32_t, 4> start) {
    CGrowingHull hull(points, start);
    std::vector<std::uint32_t> order(points.size());
    std::iota(order.begin(), order.end(), 0U);
    std::shuffle(order.begin(), order.end(), std::minstd_rand(1));
    for (const std::uint32_t point : order)
        hull.Insert(point);
    return hull.Facets();
}

} // namespace ORVEN
