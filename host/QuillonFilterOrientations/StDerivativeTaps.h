#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace ORVEN::Impl {

/// The weights of a Gaussian and its first two derivatives along one axis, in the form for correlation with
/// the pixels. The derivatives are scale-normalized: per pixel, times sigma and sigma^2.
///
/// They extend 4 sigma + 1 pixels to both sides. They are exact for polynomials of their order: the Gaussian
/// sums to 1, the first derivative of a ramp and the second derivative of a parabola are correct, and those
/// of a constant are 0.
struct StDerivativeTaps {
    /// `length` is the number of pixels along the axis. As the image is continued by its outermost pixels,
    /// taps beyond `length` are summed into the last one.
    StDerivativeTaps(double sigmaPixels, std::int64_t length);

    std::int64_t radius;
    /// `taps[order][k]` is the weight of the pixel k to the right. The pixel k to the left has the same
    /// weight, negated for order 1.
    std::array<std::vector<double>, 3> taps;
};

} // namespace ORVEN::Impl
