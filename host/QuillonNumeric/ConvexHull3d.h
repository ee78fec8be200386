#pragma once

#include "QuillonNumeric/StLatticePoint.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace ORVEN {

/// A triangle on the surface of a hull. The hull satisfies Dot(normal, p) <= offset.
struct StHullFacet {
    std::array<StLatticePoint, 3> corners; ///< counter-clockwise, seen from outside
    StLatticePoint normal;                 ///< points outwards; not normalized
    std::int64_t offset = 0;
};

/// Indices of points with the same affine span as all points: none for no points, one if all are equal, two
/// if they are on a line, three if they are in a plane, else four. Time: linear in the points.
[[nodiscard]] std::vector<std::uint32_t> AffinelyIndependentPoints(std::span<const StLatticePoint> points);

/// The exact convex hull of points in space, as triangles that cover its surface once. A face with more than
/// three corners is returned as several coplanar triangles. Points on the surface that are not corners of the
/// hull may or may not be corners of triangles.
///
/// `start` contains the indices of four affinely independent points. Points may be equal. Time: O(n log n) on
/// average over the orders of insertion; the order is shuffled with a fixed seed. Memory: about 100 bytes per
/// triangle and 8 per point.
///
/// Sources: K. Clarkson, P. Shor, *Applications of random sampling in computational geometry II*, 1989, for
/// the insertion in random order; C. Barber, D. Dobkin, H. Huhdanpaa, *The quickhull algorithm for convex
/// hulls*, 1996, for storing only one of the facets that a point sees.
[[nodiscard]] std::vector<StHullFacet> ConvexHull3d(std::span<const StLatticePoint> points,
                                                    std::span<const std::uint32_t, 4> start);

} // namespace ORVEN
