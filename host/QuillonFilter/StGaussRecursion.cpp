#include "QuillonFilter/StGaussRecursion.h"

#include <cmath>
#include <complex>

// Everything is computed in long double: for a large sigma the poles approach 1, and their differences from 1
// must be accurate to the last digits of a double.

namespace ORVEN::Impl {

namespace {

using Real = long double;
using Complex = std::complex<Real>;
using Triple = std::array<Complex, 3>;

// The poles, as they appear in the denominator in z: this one, its conjugate, and a real one.
const Complex c_complexPole(1.41650L, 1.00829L);
constexpr Real c_realPole = 1.86543L;

/// The poles at scale q: the q-th roots.
Triple PolesAt(Real scale) {
    const Complex pole =
        std::polar(std::pow(std::abs(c_complexPole), 1 / scale), std::arg(c_complexPole) / scale);
    return {pole, std::conj(pole), Complex(std::pow(c_realPole, 1 / scale))};
}

/// The variance of the combined kernel of both runs.
Real VarianceAt(Real scale) {
    Real variance = 0;
    for (const Complex& d : PolesAt(scale))
        variance += (Real{2} * d / ((d - Real{1}) * (d - Real{1}))).real();
    return variance;
}

/// The scale that gives a sigma; the variance increases with the scale.
Real ScaleOf(Real sigma) {
    Real low = 1e-3L;
    Real high = sigma + 10;
    while (high - low > 1e-18L * high) {
        const Real middle = low + (high - low) / 2;
        if (middle == low || middle == high)
            break;
        (VarianceAt(middle) < sigma * sigma ? low : high) = middle;
    }
    return low;
}

/// The row r A of a row r and the step matrix A = ((a1, a2, a3), (1, 0, 0), (0, 1, 0)).
Triple TimesStep(const Triple& row, const Triple& a) {
    return {row[0] * a[0] + row[1], row[0] * a[1] + row[2], row[0] * a[2]};
}

/// The row r with r (I - a1 A - a2 A^2 - a3 A^3) = (1, 0, 0). The matrix is the product of I - p A over the
/// inverse poles p. The factors are inverted one after the other, which loses far fewer digits than solving
/// for all at once.
Triple EndRow(const Triple& inversePoles, const Triple& a) {
    Triple row{1, 0, 0};
    for (const Complex& p : inversePoles) {
        Complex determinant = 1;
        for (const Complex& other : inversePoles)
            determinant *= Real{1} - p * other;
        const Complex first = (row[0] + p * row[1] + p * p * row[2]) / determinant;
        const Complex third = row[2] + p * a[2] * first;
        row = {first, row[1] + p * a[1] * first + p * third, third};
    }
    return row;
}

} // namespace

StGaussRecursion::StGaussRecursion(double sigma)
    : scale(static_cast<double>(ScaleOf(sigma))) {
    Triple p = PolesAt(ScaleOf(sigma));
    // 1 - a1 - a2 - a3 is the gain too, but suffers from cancellation.
    Complex exactGain = 1;
    for (Complex& inversePole : p) {
        inversePole = Real{1} / inversePole;
        exactGain *= Real{1} - inversePole;
    }
    const Triple a{p[0] + p[1] + p[2], -(p[0] * p[1] + p[0] * p[2] + p[1] * p[2]), p[0] * p[1] * p[2]};

    // Beyond the last pixel, the forward run continues with A alone. This row and the gain give the sum that
    // the backward run, started at infinity, has accumulated when it reaches the last pixel.
    Triple row = EndRow(p, a);
    for (auto& endRow : end) {
        for (std::size_t i = 0; i < 3; ++i)
            endRow[i] = static_cast<double>((exactGain * row[i]).real());
        row = TimesStep(row, a);
    }
    gain = static_cast<double>(exactGain.real());
    a1 = static_cast<double>(a[0].real());
    a2 = static_cast<double>(a[1].real());
    a3 = static_cast<double>(a[2].real());
}

} // namespace ORVEN::Impl
