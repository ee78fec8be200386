#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace ORVEN::Impl {

/// Weights of a Gaussian and its first two derivatives along one axis, in the form that is correlated with
/// the pixels. The derivatives are by the scale itself: those by pixels, times sigma and its square.
///
/// They reach 4 sigma + 1 pixels to both sides, and are exact where that matters: the Gaussian sums up to 1,
/// the first derivative of a ramp and the second of a parabola are right, that of a constant is 0.
struct StDerivativeTaps {
    /// `length` is the number of pixels on the axis. Behind the ends the last pixels are repeated, so that
    /// taps that no pixel of the axis can reach are added up in one.
    StDerivativeTaps(double sigmaPixels, std::int64_t length);

    std::int64_t radius;
    /// `taps[order][k]` weighs the pixel k to the right. That to the left has the same weight, or for order 1
    /// the negative one.
    std::array<std::vector<double>, 3> taps;
};

} // namespace ORVEN::Impl
