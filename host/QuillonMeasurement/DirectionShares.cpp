#include "QuillonMeasurement/DirectionShares.h"

#include <cmath>
#include <numbers>
#include <vector>

namespace ORVEN {

namespace {

double Dot(const Vector3d& a, const Vector3d& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

Vector3d Cross(const Vector3d& a, const Vector3d& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

/// a + factor b
Vector3d Sum(const Vector3d& a, double factor, const Vector3d& b) {
    return {a[0] + factor * b[0], a[1] + factor * b[1], a[2] + factor * b[2]};
}

Vector3d Unit(const Vector3d& a) {
    const double length = std::sqrt(Dot(a, a));
    return {a[0] / length, a[1] / length, a[2] / length};
}

using Polygon = std::vector<Vector3d>;

/// A square around the unit vector, in the plane tangent to the sphere. It extends to 84 degrees, beyond any
/// cell.
Polygon TangentSquare(const Vector3d& point) {
    constexpr double halfSide = 9.0;
    const Vector3d other = std::abs(point[0]) < 0.5 ? Vector3d{1, 0, 0} : Vector3d{0, 1, 0};
    const Vector3d first = Unit(Cross(point, other));
    const Vector3d second = Cross(point, first);
    const auto corner = [&](double a, double b) {
        return Sum(Sum(point, a * halfSide, first), b * halfSide, second);
    };
    return {corner(-1, -1), corner(1, -1), corner(1, 1), corner(-1, 1)};
}

/// The part of a convex polygon where normal . x >= 0.
Polygon Clipped(const Polygon& polygon, const Vector3d& normal) {
    Polygon result;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const Vector3d& begin = polygon[i];
        const Vector3d& end = polygon[(i + 1) % polygon.size()];
        const double atBegin = Dot(normal, begin);
        const double atEnd = Dot(normal, end);
        if (atBegin >= 0.0)
            result.push_back(begin);
        if ((atBegin >= 0.0) != (atEnd >= 0.0)) {
            const double place = atBegin / (atBegin - atEnd);
            result.push_back(Sum(Sum(begin, -place, begin), place, end));
        }
    }
    return result;
}

/// The area of a polygon on the unit sphere. The corners may have any length.
double SphericalArea(Polygon polygon) {
    for (Vector3d& corner : polygon)
        corner = Unit(corner);
    double area = 0.0;
    for (std::size_t i = 2; i < polygon.size(); ++i) {
        const Vector3d& a = polygon[0];
        const Vector3d& b = polygon[i - 1];
        const Vector3d& c = polygon[i];
        area += 2.0 * std::atan2(std::abs(Dot(a, Cross(b, c))), 1.0 + Dot(a, b) + Dot(b, c) + Dot(c, a));
    }
    return area;
}

} // namespace

std::array<double, c_directionCount>
DirectionShares(const std::array<Vector3d, c_directionCount>& directions) {
    std::vector<Vector3d> points;
    for (const Vector3d& direction : directions) {
        const Vector3d point = Unit(direction);
        points.push_back(point);
        points.push_back({-point[0], -point[1], -point[2]});
    }
    std::array<double, c_directionCount> shares{};
    for (std::size_t i = 0; i < c_directionCount; ++i) {
        const Vector3d& point = points[2 * i];
        Polygon cell = TangentSquare(point);
        for (const Vector3d& other : points) {
            if (other != point)
                cell = Clipped(cell, Sum(point, -1.0, other));
        }
        shares[i] = 2.0 * SphericalArea(cell) / (4.0 * std::numbers::pi);
    }
    return shares;
}

} // namespace ORVEN
