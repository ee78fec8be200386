#pragma once

#include <cmath>
#include <numbers>

namespace ORVEN::Impl {

/// The arc tangent of t in [0, 1], accurate to a few units in the last place.
inline double ArcTangent(double t) {
    // After halving the angle twice by tan(a / 2) = tan(a) / (1 + sqrt(1 + tan(a)^2)), it is below 12
    // degrees, where 11 terms of the series suffice.
    t /= 1.0 + std::sqrt(1.0 + t * t);
    t /= 1.0 + std::sqrt(1.0 + t * t);
    const double minusSquare = -t * t;
    double sum = 0.0;
    for (int power = 21; power > 0; power -= 2)
        sum = sum * minusSquare + 1.0 / power;
    return 4.0 * t * sum;
}

/// The angle from the positive first axis to the point (x, y), in [0, pi]; 0 for the origin. The sign of y is
/// ignored. The library function is not used because it rounds differently on different processors.
inline double AngleOf(double x, double y) {
    const double along = std::fabs(x);
    const double across = std::fabs(y);
    if (along == 0.0 && across == 0.0)
        return 0.0;
    const double angle =
        across > along ? std::numbers::pi / 2.0 - ArcTangent(along / across) : ArcTangent(across / along);
    return x < 0.0 ? std::numbers::pi - angle : angle;
}

} // namespace ORVEN::Impl
