#include "measurement/SurfaceWeights.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace quillon::basics {

namespace {

constexpr double c_pi = std::numbers::pi;

double Dot(const Triple& a, const Triple& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

Triple Cross(const Triple& a, const Triple& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Triple Scaled(const Triple& a, double factor) { return {a[0] * factor, a[1] * factor, a[2] * factor}; }

Triple Sum(const Triple& a, const Triple& b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }

Triple Unit(const Triple& a) { return Scaled(a, 1.0 / std::sqrt(Dot(a, a))); }

Triple VectorOf(const StDirection& direction, const Triple& spacing) {
    return {direction.dx * spacing[0], direction.dy * spacing[1], direction.dz * spacing[2]};
}

/// The solid angle of a triangle seen from the origin.
double SolidAngle(const Triple& a, const Triple& b, const Triple& c) {
    const double la = std::sqrt(Dot(a, a));
    const double lb = std::sqrt(Dot(b, b));
    const double lc = std::sqrt(Dot(c, c));
    return 2.0 * std::atan2(std::abs(Dot(a, Cross(b, c))),
                            la * lb * lc + Dot(a, b) * lc + Dot(a, c) * lb + Dot(b, c) * la);
}

/// The solid angle of the directions that are nearer to unit[i] than to the others or their opposites. The
/// region is a polygon in the plane that touches the sphere at unit[i], cut out by one straight line for
/// each of the others.
double SolidAngleOfRegion(const std::vector<Triple>& unit, std::size_t i) {
    const Triple& center = unit[i];
    const Triple helper = std::abs(center[0]) < 0.5 ? Triple{1.0, 0.0, 0.0} : Triple{0.0, 1.0, 0.0};
    const Triple u = Unit(Cross(center, helper));
    const Triple v = Cross(center, u);
    constexpr double far = 1e6; // the region lies within a right angle around its centre
    std::vector<Triple> polygon;
    for (const auto& [x, y] :
         {std::pair(-far, -far), std::pair(far, -far), std::pair(far, far), std::pair(-far, far)})
        polygon.push_back(Sum(center, Sum(Scaled(u, x), Scaled(v, y))));

    const auto cut = [&polygon](const Triple& normal) {
        std::vector<Triple> rest;
        for (std::size_t k = 0; k < polygon.size(); ++k) {
            const Triple& a = polygon[k];
            const Triple& b = polygon[(k + 1) % polygon.size()];
            const double sideA = Dot(a, normal);
            const double sideB = Dot(b, normal);
            if (sideA >= 0.0)
                rest.push_back(a);
            if ((sideA >= 0.0) != (sideB >= 0.0))
                rest.push_back(Sum(a, Scaled(Sum(b, Scaled(a, -1.0)), sideA / (sideA - sideB))));
        }
        polygon.swap(rest);
    };
    for (std::size_t k = 0; k < unit.size(); ++k) {
        if (k == i)
            continue;
        cut(Sum(center, Scaled(unit[k], -1.0)));
        cut(Sum(center, unit[k]));
    }
    double angle = 0.0;
    for (std::size_t k = 1; k + 1 < polygon.size(); ++k)
        angle += SolidAngle(polygon[0], polygon[k], polygon[k + 1]);
    return angle;
}

/// The parts of the sphere that are nearest to each direction or its opposite.
std::vector<double> PartsOfSphere(const std::vector<Triple>& unit) {
    std::vector<double> parts;
    for (std::size_t i = 0; i < unit.size(); ++i)
        parts.push_back(SolidAngleOfRegion(unit, i) / (2.0 * c_pi));
    return parts;
}

/// The same for the circle: half the angle to the next direction on either side.
std::vector<double> PartsOfCircle(const std::vector<Triple>& unit) {
    std::vector<double> parts;
    for (const Triple& direction : unit) {
        double before = c_pi;
        double after = c_pi;
        for (const Triple& other : unit) {
            const double angle = std::atan2(Cross(direction, other)[2], Dot(direction, other));
            const double turned = angle > 0.0 ? angle : angle + c_pi; // opposites are the same direction
            if (&other != &direction) {
                after = std::min(after, turned);
                before = std::min(before, c_pi - turned);
            }
        }
        parts.push_back((before + after) / 2.0 / c_pi);
    }
    return parts;
}

} // namespace

std::vector<StDirection> SurfaceDirections(int dimension, const Triple& spacing) {
    if (dimension == 1)
        return {{1, 0, 0, 1.0}};
    std::vector<StDirection> directions;
    std::vector<Triple> unit;
    for (int dz = 0; dz <= (dimension == 3 ? 1 : 0); ++dz) {
        for (int dy = -1; dy <= 1; ++dy) {
            for (int dx = -1; dx <= 1; ++dx) {
                // Of each pair of opposites, the one that comes later in raster order.
                if (dz * 9 + dy * 3 + dx <= 0)
                    continue;
                directions.push_back({dx, dy, dz});
                unit.push_back(Unit(VectorOf(directions.back(), spacing)));
            }
        }
    }
    const std::vector<double> parts = dimension == 3 ? PartsOfSphere(unit) : PartsOfCircle(unit);
    const double pixel = spacing[0] * spacing[1] * (dimension == 3 ? spacing[2] : 1.0);
    const double factor = dimension == 3 ? 2.0 : c_pi / 2.0;
    for (std::size_t i = 0; i < directions.size(); ++i) {
        const Triple vector = VectorOf(directions[i], spacing);
        directions[i].surface = factor * parts[i] * pixel / std::sqrt(Dot(vector, vector));
    }
    return directions;
}

} // namespace quillon::basics
