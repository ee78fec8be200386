#include "QuillonGranulometry/CNearLimits.h"

#include "QuillonGranulometry/FloorSqrt.h"

#include <algorithm>

namespace ORVEN {

namespace {

constexpr std::int32_t c_greatestTabled = 1 << 20;

std::int32_t SquaredLength(const std::array<std::int32_t, 3>& v) {
    return v[0] * v[0] + v[1] * v[1] + v[2] * v[2];
}

} // namespace

CNearLimits::CNearLimits(int dimension, std::int32_t greatest, CWorkPace& pace)
    : m_isComplete(greatest <= c_greatestTabled) {
    const std::int32_t reach = std::min(greatest, c_greatestTabled);
    // First, at index R: the maximum of |u|^2 + 2 u v over all u of squared length R - 1.
    for (std::vector<std::int32_t>& limits : m_limits)
        limits.resize(static_cast<std::size_t>(reach) + 1, 0);
    for (std::int32_t a = 0; a * a < reach; ++a) {
        const std::int32_t greatestB = dimension > 1 ? a : 0;
        for (std::int32_t b = 0; b <= greatestB && a * a + b * b < reach; ++b) {
            const std::int32_t greatestC = dimension > 2 ? b : 0;
            for (std::int32_t c = 0; c <= greatestC && a * a + b * b + c * c < reach; ++c) {
                const std::int32_t length = a * a + b * b + c * c;
                for (std::size_t i = 0; i < c_count; ++i) {
                    const auto [p, q, r] = c_vectors[i];
                    std::int32_t& limit = m_limits[i][static_cast<std::size_t>(length) + 1];
                    limit = std::max(limit, length + 2 * (a * p + b * q + c * r));
                }
            }
            if (pace.Add(6 * (std::int64_t{greatestC} + 1)))
                return;
        }
    }
    for (std::size_t i = 0; i < c_count; ++i) {
        std::int32_t maximum = 0;
        for (std::int32_t& limit : m_limits[i]) {
            maximum = std::max(maximum, limit);
            limit = maximum + SquaredLength(c_vectors[i]) + 1;
        }
    }
}

std::int32_t CNearLimits::Bound(std::size_t vector, std::int32_t distance) {
    const std::int64_t length = distance - 1;
    const std::int64_t steps = SquaredLength(c_vectors[vector]);
    return static_cast<std::int32_t>(length + FloorSqrt(4 * steps * length) + steps + 1);
}

} // namespace ORVEN
