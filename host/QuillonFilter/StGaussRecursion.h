#pragma once

#include <array>

namespace ORVEN::Impl {

/// Coefficients of the recursion
///
///     u[n] = gain x[n] + a1 u[n-1] + a2 u[n-2] + a3 u[n-3]
///
/// Run forward over a line and then backward over its own result, it filters with a kernel that is close to a
/// Gaussian of standard deviation `sigma`.
///
/// Poles: I. T. Young, L. J. van Vliet, Recursive implementation of the Gaussian filter, 1995; L. J. van
/// Vliet, I. T. Young, P. W. Verbeek, Recursive Gaussian derivative filters, 1998. Right end: B. Triggs, M.
/// Sdika, Boundary conditions for Young-van Vliet recursive filtering, 2006.
struct StGaussRecursion {
    /// `sigma` in pixels, finite and above 0. Takes a few microseconds.
    explicit StGaussRecursion(double sigma);

    double gain = 0.0;
    double a1 = 0.0;
    double a2 = 0.0;
    double a3 = 0.0;

    /// Start of the backward run, for a line of N pixels that continues indefinitely with its last value e.
    /// With v the result of the backward run, this matrix maps (u[N-1] - e, u[N-2] - e, u[N-3] - e) to
    /// (v[N-1] - e, v[N] - e, v[N+1] - e).
    std::array<std::array<double, 3>, 3> end{};

    /// The scale of the poles; scale 1 gives the poles of the 1998 paper, with sigma 2.
    double scale = 0.0;
};

} // namespace ORVEN::Impl
