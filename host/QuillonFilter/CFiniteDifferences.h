#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace ORVEN::Impl {

/// Weights of the derivative of a given order at each pixel of a line, exact for polynomials of degree order
/// + 1 at every pixel.
///
/// Inside the line, the window is centred: order + 1 pixels for an even order, order + 2 for an odd one.
/// Where a centred window would extend beyond the line, the window is the first or last order + 2 pixels of
/// the line, with weights for the pixel's position in it. A line of order + 1 pixels is a single window,
/// exact to degree order.
///
/// B. Fornberg, Generation of finite difference formulas on arbitrarily spaced grids, 1988.
class CFiniteDifferences {
public:
    /// `order` > 0; `length` must be greater than `order`.
    CFiniteDifferences(int order, std::int64_t length);

    [[nodiscard]] std::int64_t Length() const { return m_length; }

    /// The derivative at a pixel is the sum of these weights times the pixels starting at `first`.
    struct StWindow {
        std::int64_t first;
        std::span<const double> weights;
    };
    [[nodiscard]] StWindow WindowAt(std::int64_t pixel) const;

    /// Range of the pixels whose window is centred: the first, and one past the last.
    [[nodiscard]] std::int64_t FirstCentral() const { return m_firstCentral; }
    [[nodiscard]] std::int64_t EndCentral() const { return m_endCentral; }

private:
    std::int64_t m_length;
    std::int64_t m_firstCentral;
    std::int64_t m_endCentral;
    std::vector<double> m_central;
    std::vector<std::vector<double>> m_left;  ///< indexed by pixel
    std::vector<std::vector<double>> m_right; ///< indexed by pixel, counted from the end of the line
};

} // namespace ORVEN::Impl
