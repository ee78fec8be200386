#include "QuillonFilter/CFiniteDifferences.h"

#include <algorithm>

namespace ORVEN::Impl {

namespace {

/// Weights of the derivative at a pixel of a line of `count` pixels, all of which are in the window.
/// Fornberg's recursion adds one pixel after the other and keeps the weights of all lower orders.
std::vector<double> Weights(int order, std::int64_t count, std::int64_t pixel) {
    using Real = long double;
    const auto orders = static_cast<std::size_t>(order) + 1;
    const auto pixels = static_cast<std::size_t>(count);
    std::vector<std::vector<Real>> weights(pixels, std::vector<Real>(orders, 0));
    const auto offset = [pixel](std::size_t i) {
        return static_cast<Real>(static_cast<std::int64_t>(i) - pixel);
    };
    weights[0][0] = 1;
    Real previousProduct = 1;
    for (std::size_t i = 1; i < pixels; ++i) {
        // The weights of the new pixel depend on those of the preceding one, which the loop then changes.
        const std::vector<Real> before = weights[i - 1];
        Real product = 1;
        for (std::size_t j = 0; j < i; ++j) {
            const auto distance = static_cast<Real>(i - j);
            product *= distance;
            for (std::size_t k = orders; k-- > 0;) {
                const Real lower = k > 0 ? static_cast<Real>(k) * weights[j][k - 1] : 0;
                weights[j][k] = (offset(i) * weights[j][k] - lower) / distance;
            }
        }
        for (std::size_t k = 0; k < orders; ++k) {
            const Real lower = k > 0 ? static_cast<Real>(k) * before[k - 1] : 0;
            weights[i][k] = previousProduct / product * (lower - offset(i - 1) * before[k]);
        }
        previousProduct = product;
    }
    std::vector<double> result;
    for (const std::vector<Real>& ofPixel : weights)
        result.push_back(static_cast<double>(ofPixel.back()));
    return result;
}

/// The weights at the same position, counted from the other end.
std::vector<double> Mirrored(std::vector<double> weights, int order) {
    std::reverse(weights.begin(), weights.end());
    if (order % 2 != 0)
        std::for_each(weights.begin(), weights.end(), [](double& weight) { weight = 0.0 - weight; });
    return weights;
}

/// The weights of a centred window, made exactly symmetric.
std::vector<double> CentralWeights(int order, std::int64_t half) {
    std::vector<double> weights = Weights(order, 2 * half + 1, half);
    const std::vector<double> mirrored = Mirrored(weights, order);
    std::copy(mirrored.begin() + half + 1, mirrored.end(), weights.begin() + half + 1);
    if (order % 2 != 0)
        weights[static_cast<std::size_t>(half)] = 0.0;
    return weights;
}

} // namespace

CFiniteDifferences::CFiniteDifferences(int order, std::int64_t length)
    : m_length(length) {
    const std::int64_t half = (order + 1) / 2;
    const bool isOneWindow = length < order + 2;
    m_firstCentral = isOneWindow ? (length + 1) / 2 : half;
    m_endCentral = isOneWindow ? m_firstCentral : length - half;
    if (!isOneWindow)
        m_central = CentralWeights(order, half);
    const std::int64_t window = std::min<std::int64_t>(order + 2, length);
    for (std::int64_t pixel = 0; pixel < m_firstCentral; ++pixel)
        m_left.push_back(Weights(order, window, pixel));
    for (std::int64_t pixel = 0; pixel < length - m_endCentral; ++pixel)
        m_right.push_back(Mirrored(m_left[static_cast<std::size_t>(pixel)], order));
}

CFiniteDifferences::StWindow CFiniteDifferences::WindowAt(std::int64_t pixel) const {
    if (pixel < m_firstCentral)
        return {0, m_left[static_cast<std::size_t>(pixel)]};
    if (pixel < m_endCentral)
        return {pixel - static_cast<std::int64_t>(m_central.size() / 2), m_central};
    const std::vector<double>& weights = m_right[static_cast<std::size_t>(m_length - 1 - pixel)];
    return {m_length - static_cast<std::int64_t>(weights.size()), weights};
}

} // namespace ORVEN::Impl
