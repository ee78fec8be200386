#pragma once

#include "pixels/Geometry.h"

#include <QuillonBase/CWorkPace.h>
#include <QuillonNumeric/StLatticePoint.h>

#include <vector>

namespace quillon::basics {

/// The greatest distance between two of the points, which are pixels of this spacing. Exact: the farthest
/// points are corners of the convex hull, and all pairs of corners are compared. 0 if cancelled.
///
/// Time: O(n log n) for n points, and the square of the number of corners, which for a ball of radius r is
/// about r^1.5.
[[nodiscard]] double FeretDiameter(std::vector<ORVEN::StLatticePoint> points, const Triple& spacing,
                                   ORVEN::CWorkPace& pace);

} // namespace quillon::basics
