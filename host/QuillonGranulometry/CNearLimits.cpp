#include "QuillonGranulometry/CNearLimits.h"

#include "QuillonGranulometry/FloorSqrt.h"

#include <algorithm>

namespace ORVEN {

namespace {

constexpr std::int32_t c_greatestTabled = 1 << 20;

} // namespace

CNearLimits::CNearLimits(int dimension, std::int32_t greatest, CWorkPace& pace) {
    const std::int32_t reach = std::min(greatest, c_greatestTabled);
    // First, at index R: the maximum of |u|^2 + 2 u v over all u of squared length R - 1.
    m_limits.resize(static_cast<std::size_t>(reach) + 1, {0, 0, 0});
    for (std::int32_t a = 0; a * a < reach; ++a) {
        const std::int32_t greatestB = dimension > 1 ? a : 0;
        for (std::int32_t b = 0; b <= greatestB && a * a + b * b < reach; ++b) {
            const std::int32_t greatestC = dimension > 2 ? b : 0;
            for (std::int32_t c = 0; c <= greatestC && a * a + b * b + c * c < reach; ++c) {
                const std::int32_t length = a * a + b * b + c * c;
                std::array<std::int32_t, 3>& limits = m_limits[static_cast<std::size_t>(length) + 1];
                limits[0] = std::max(limits[0], length + 2 * a);
                limits[1] = std::max(limits[1], length + 2 * (a + b));
                limits[2] = std::max(limits[2], length + 2 * (a + b + c));
            }
            if (pace.Add(4 * (std::int64_t{greatestC} + 1)))
                return;
        }
    }
    std::array<std::int32_t, 3> maxima{0, 0, 0};
    for (std::array<std::int32_t, 3>& limits : m_limits) {
        for (std::size_t i = 0; i < limits.size(); ++i) {
            maxima[i] = std::max(maxima[i], limits[i]);
            limits[i] = maxima[i] + static_cast<std::int32_t>(i + 1) + 1;
        }
    }
}

std::array<std::int32_t, 3> CNearLimits::Bounds(std::int32_t distance) {
    const std::int64_t length = distance - 1;
    std::array<std::int32_t, 3> bounds{};
    for (std::int64_t steps = 1; steps <= 3; ++steps) {
        const std::int64_t bound = length + FloorSqrt(4 * steps * length) + steps + 1;
        bounds[static_cast<std::size_t>(steps - 1)] = static_cast<std::int32_t>(bound);
    }
    return bounds;
}

} // namespace ORVEN
