#include "QuillonFilterOrientations/StDerivativeTaps.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace ORVEN::Impl {

namespace {

/// exp(-x) for small x by its series. The library function is not used because it rounds differently on
/// different processors.
double ExponentialOfMinus(double x) {
    constexpr int termCount = 24;
    double sum = 1.0;
    for (int term = termCount; term > 0; --term)
        sum = 1.0 - x / term * sum;
    return sum;
}

/// exp(-k^2 / (2 sigma^2)) for k from 0 to `radius`, each computed from the previous one.
std::vector<double> GaussianSamples(double sigma, std::int64_t radius) {
    const double step = ExponentialOfMinus(1.0 / (2.0 * sigma * sigma));
    double ratio = step;
    double value = 1.0;
    std::vector<double> samples;
    samples.reserve(static_cast<std::size_t>(radius + 1));
    for (std::int64_t k = 0; k <= radius; ++k) {
        samples.push_back(value);
        value *= ratio;
        ratio *= step * step;
    }
    return samples;
}

/// The sum over both sides of `moment(k) * taps[k]`, for taps that are equal on both sides.
template <class Moment>
double SumOf(const std::vector<double>& taps, const Moment& moment) {
    double sum = 0.0;
    for (std::size_t k = taps.size() - 1; k > 0; --k)
        sum += moment(static_cast<double>(k)) * taps[k];
    return 2.0 * sum + moment(0.0) * taps[0];
}

double One(double /*k*/) { return 1.0; }
double Identity(double k) { return k; }
double Square(double k) { return k * k; }

void Scale(std::vector<double>& taps, double factor) {
    for (double& tap : taps)
        tap *= factor;
}

/// Adds the taps beyond `last` to the tap at `last`.
void CutOff(std::vector<double>& taps, std::size_t last) {
    if (taps.size() <= last + 1)
        return;
    taps[last] = std::accumulate(taps.begin() + static_cast<std::ptrdiff_t>(last), taps.end(), 0.0);
    taps.resize(last + 1);
}

} // namespace

StDerivativeTaps::StDerivativeTaps(double sigmaPixels, std::int64_t length) {
    // A Gaussian that is wider than any image sees one value along this axis, whatever its width.
    const double sigma = std::min(sigmaPixels, 0x1p16);
    radius = static_cast<std::int64_t>(std::ceil(4.0 * sigma)) + 1;
    auto& [smooth, first, second] = taps;
    smooth = GaussianSamples(sigma, radius);
    first = smooth;
    second = smooth;
    for (std::size_t k = 0; k < smooth.size(); ++k) {
        const auto x = static_cast<double>(k);
        first[k] *= x;
        second[k] *= x * x / (sigma * sigma) - 1.0;
    }
    const double remainder = SumOf(second, One) / SumOf(smooth, One);
    for (std::size_t k = 0; k < second.size(); ++k)
        second[k] -= remainder * smooth[k];
    Scale(smooth, 1.0 / SumOf(smooth, One));
    Scale(first, sigma / SumOf(first, Identity));
    Scale(second, 2.0 * sigma * sigma / SumOf(second, Square));

    radius = std::min(radius, length);
    for (std::vector<double>& order : taps)
        CutOff(order, static_cast<std::size_t>(radius));
}

} // namespace ORVEN::Impl
