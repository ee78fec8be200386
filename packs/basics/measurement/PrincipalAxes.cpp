#include "measurement/PrincipalAxes.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace quillon::basics {

namespace {

/// Rotates the plane of axes p and q so that the element (p, q) becomes 0.
void Rotate(Matrix& a, Matrix& vectors, std::size_t p, std::size_t q) {
    if (a[p][q] == 0.0)
        return;
    const double theta = (a[q][q] - a[p][p]) / (2.0 * a[p][q]);
    const double t = std::copysign(1.0, theta) / (std::abs(theta) + std::sqrt(theta * theta + 1.0));
    const double c = 1.0 / std::sqrt(t * t + 1.0);
    const double s = t * c;
    for (std::size_t k = 0; k < 3; ++k) {
        const double kp = a[k][p];
        const double kq = a[k][q];
        a[k][p] = c * kp - s * kq;
        a[k][q] = s * kp + c * kq;
    }
    for (std::size_t k = 0; k < 3; ++k) {
        const double pk = a[p][k];
        const double qk = a[q][k];
        a[p][k] = c * pk - s * qk;
        a[q][k] = s * pk + c * qk;
    }
    a[p][q] = 0.0;
    a[q][p] = 0.0;
    for (std::size_t k = 0; k < 3; ++k) {
        const double kp = vectors[k][p];
        const double kq = vectors[k][q];
        vectors[k][p] = c * kp - s * kq;
        vectors[k][q] = s * kp + c * kq;
    }
}

} // namespace

std::array<StPrincipalAxis, 3> PrincipalAxes(Matrix covariance) {
    Matrix vectors{{{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}}};
    constexpr int sweeps = 32; // convergence is quadratic; six are usual
    const double scale = covariance[0][0] + covariance[1][1] + covariance[2][2];
    for (int sweep = 0; sweep < sweeps; ++sweep) {
        const double outside =
            std::abs(covariance[0][1]) + std::abs(covariance[0][2]) + std::abs(covariance[1][2]);
        if (outside <= 1e-17 * scale)
            break;
        Rotate(covariance, vectors, 0, 1);
        Rotate(covariance, vectors, 0, 2);
        Rotate(covariance, vectors, 1, 2);
    }
    std::array<StPrincipalAxis, 3> axes;
    for (std::size_t i = 0; i < 3; ++i) {
        axes[i] = {covariance[i][i], {vectors[0][i], vectors[1][i], vectors[2][i]}};
        const auto greatest = std::ranges::max_element(axes[i].direction, {}, [](double component) {
            // Rounding must not decide between components that are equal.
            return std::round(std::abs(component) * 1e9);
        });
        if (*greatest < 0.0)
            std::ranges::transform(axes[i].direction, axes[i].direction.begin(), std::negate<>());
    }
    std::ranges::stable_sort(axes, std::ranges::greater(), &StPrincipalAxis::variance);
    return axes;
}

} // namespace quillon::basics
