#include "measurement/FeretDiameter.h"

#include <QuillonNumeric/ConvexHull3d.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <tuple>

namespace quillon::basics {

using namespace ORVEN;

namespace {

using Points = std::vector<StLatticePoint>;

auto InRasterOrder(const StLatticePoint& a) { return std::tuple(a.z, a.y, a.x); }

void SortAndUnite(Points& points) {
    std::ranges::sort(points, {}, InRasterOrder);
    points.erase(std::unique(points.begin(), points.end()), points.end());
}

/// The corners of the hull of points in a plane with the given normal, by the monotone chain. The hull is the
/// same in the projection along the axis that the normal is nearest to.
Points CornersInPlane(const Points& sorted, const StLatticePoint& normal) {
    const std::int64_t nx = std::abs(normal.x);
    const std::int64_t ny = std::abs(normal.y);
    const std::int64_t nz = std::abs(normal.z);
    const auto isRightTurn = [&](const StLatticePoint& a, const StLatticePoint& b, const StLatticePoint& c) {
        const StLatticePoint turn = Cross(b - a, c - b);
        const std::int64_t along = nz >= nx && nz >= ny ? turn.z : ny >= nx ? turn.y : turn.x;
        const std::int64_t sign = nz >= nx && nz >= ny ? normal.z : ny >= nx ? normal.y : normal.x;
        return sign > 0 ? along <= 0 : along >= 0;
    };
    Points corners;
    const auto addChain = [&](auto first, auto last) {
        const std::size_t start = corners.size();
        for (auto point = first; point != last; ++point) {
            while (corners.size() >= start + 2 &&
                   isRightTurn(corners[corners.size() - 2], corners.back(), *point))
                corners.pop_back();
            corners.push_back(*point);
        }
    };
    addChain(sorted.begin(), sorted.end());
    addChain(sorted.rbegin(), sorted.rend());
    return corners;
}

Points Corners(Points points) {
    SortAndUnite(points);
    const std::vector<std::uint32_t> span = AffinelyIndependentPoints(points);
    if (span.size() < 3)
        return {points.front(), points.back()};
    if (span.size() == 3)
        return CornersInPlane(points,
                              Cross(points[span[1]] - points[span[0]], points[span[2]] - points[span[0]]));
    Points corners;
    for (const StHullFacet& facet : ConvexHull3d(points, std::span<const std::uint32_t, 4>(span.data(), 4)))
        corners.insert(corners.end(), facet.corners.begin(), facet.corners.end());
    SortAndUnite(corners);
    return corners;
}

} // namespace

double FeretDiameter(Points points, const Triple& spacing, CWorkPace& pace) {
    if (points.empty())
        return 0.0;
    const Points corners = Corners(std::move(points));
    double greatest = 0.0;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        for (std::size_t k = i + 1; k < corners.size(); ++k) {
            const StLatticePoint step = corners[k] - corners[i];
            const double x = static_cast<double>(step.x) * spacing[0];
            const double y = static_cast<double>(step.y) * spacing[1];
            const double z = static_cast<double>(step.z) * spacing[2];
            greatest = std::max(greatest, x * x + y * y + z * z);
        }
        if (pace.Add(4 * static_cast<std::int64_t>(corners.size() - i)))
            return 0.0;
    }
    return std::sqrt(greatest);
}

} // namespace quillon::basics
