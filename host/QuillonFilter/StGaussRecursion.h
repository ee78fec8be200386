#pragma once

#include <array>

namespace ORVEN::Impl {

/// Coefficients of the recursion
///
///     u[n] = gain x[n] + a1 u[n-1] + a2 u[n-2] + a3 u[n-3]
///
/// which, run forward over a line and then backward over its own result, filters with a kernel of standard
/// deviation `sigma` that is close to a Gaussian.
///
/// Poles: I. T. Young, L. J. van Vliet, Recursive implementation of the Gaussian filter, 1995; L. J. van
/// Vliet, I. T. Young, P. W. Verbeek, Recursive Gaussian derivative filters, 1998. Right end: B. Triggs, M.
/// Sdika, Boundary conditions for Young-van Vliet recursive filtering, 2006.
struct StGaussRecursion {
    /// `sigma` in pixels, finite and above 0. Takes some microseconds.
    explicit StGaussRecursion(double sigma);

    double gain = 0.0;
    double a1 = 0.0;
    double a2 = 0.0;
    double a3 = 0.0;

    /// Where the backward run begins, for a line of N pixels that goes on for ever with its last value e:
    /// with v its result, this matrix takes (u[N-1] - e, u[N-2] - e, u[N-3] - e) to (v[N-1] - e, v[N] - e,
    /// v[N+1] - e).
    std::array<std::array<double, 3>, 3> end{};

    /// The scale of the poles, which are those of 1998 at scale 1, sigma 2.
    double scale = 0.0;
};

} // namespace ORVEN::Impl
