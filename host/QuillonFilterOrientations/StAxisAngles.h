#pragma once

#include "QuillonFilterOrientations/AngleOf.h"

#include <array>
#include <cstddef>

namespace ORVEN::Impl {

using Direction = std::array<double, 3>;

/// Returns the one of the two directions along an axis that has y > 0, or y = 0 and x > 0, or x = y = 0 and z
/// > 0. With this choice, phi varies smoothly for fibres in layers perpendicular to z.
inline Direction InHalfSpace(const Direction& direction) {
    const auto& [x, y, z] = direction;
    const double first = y != 0.0 ? y : x != 0.0 ? x : z;
    return first < 0.0 ? Direction{-x, -y, -z} : direction;
}

/// The angles of an axis in radians, rounded to `Number`.
template <class Number>
struct StAxisAngles {
    /// In 3-d, theta is the angle from +z, in [0, pi], and phi the angle from +x towards +y, in [0, pi). In
    /// 2-d, theta is the angle from +x towards +y, in [0, pi), and phi is 0.
    StAxisAngles(const Direction& direction, std::size_t dimension) {
        const auto [x, y, z] = InHalfSpace(direction);
        const auto half = static_cast<Number>(std::numbers::pi);
        const auto aroundZ = static_cast<Number>(AngleOf(x, y));
        const bool isTurned = aroundZ >= half; // by rounding; the opposite direction has angle 0
        if (dimension == 3) {
            const double fromZ = AngleOf(z, std::sqrt(x * x + y * y));
            theta = static_cast<Number>(isTurned ? std::numbers::pi - fromZ : fromZ);
            phi = isTurned ? Number{} : aroundZ;
        } else {
            theta = isTurned ? Number{} : aroundZ;
        }
    }

    Number theta{};
    Number phi{};
};

} // namespace ORVEN::Impl
