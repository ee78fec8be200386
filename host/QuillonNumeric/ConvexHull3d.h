#pragma once

#include "QuillonNumeric/StLatticePoint.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace ORVEN {

/// A triangle on the surface of a hull. The hull lies where Dot(normal, p) <= offset.
struct StHullFacet {
    std::array<StLatticePoint, 3> corners; ///< counter-clockwise, seen from outside
    StLatticePoint normal;                 ///< outwards, of no particular length
    std::int64_t offset = 0;
};

/// Indices of points that span all that the points span: none for no points, one for a single place, two for
/// a line, three for a plane, else four.
[[nodiscard]] std::vector<std::uint32_t> AffinelyIndependentPoints(std::span<const StLatticePoint> points);

/// The convex hull of points in space, exact, as triangles that cover its surface once. A face of more than
/// three corners comes as several triangles of one plane; points on the surface that are no corner of the
/// hull need not be corners of a triangle.
///
/// `start` has four affinely independent points. Equal points may occur. Memory: about 100 bytes a triangle
/// and 8 a point. Time: n log n on average over the orders of insertion, one of which is picked at random
/// with a fixed seed.
///
/// Sources: K. Clarkson, P. Shor, *Applications of random sampling in computational geometry II*, 1989, for
/// the insertion in random order; C. Barber, D. Dobkin, H. Huhdanpaa, *The quickhull algorithm for convex
/// hulls*, 1996, for remembering one facet that a point sees instead of all.
[[nodiscard]] std::vector<StHullFacet> ConvexHull3d(std::span<const StLatticePoint> points,
                                                    std::span<const std::uint32_t, 4> start);

} // namespace ORVEN
