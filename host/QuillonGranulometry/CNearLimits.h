#pragma once

#include <QuillonBase/CWorkPace.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ORVEN {

/// From which squared distance on the ball of one of the nearest neighbours contains that of a pixel.
///
/// With R the squared distance at p, the ball at p + v contains the one at p if the squared distance there is
/// above max{|u + v|^2 : |u|^2 < R}, over all u of the grid; of those the sorted one does for a sorted v.
/// Distances beyond 2^20 go by the ball of the plane or space instead, which contains that of the grid, so
/// that no neighbour is believed that does not contain it.
class CNearLimits {
public:
    /// For images of that dimension and squared distances up to `greatest`. 12 bytes for each. Without use
    /// once the pace is cancelled.
    CNearLimits(int dimension, std::int32_t greatest, CWorkPace& pace);

    /// For the neighbours at one, two and three steps along as many axes.
    [[nodiscard]] std::array<std::int32_t, 3> At(std::int32_t distance) const {
        const auto index = static_cast<std::size_t>(distance);
        return index < m_limits.size() ? m_limits[index] : Bounds(distance);
    }

private:
    [[nodiscard]] static std::array<std::int32_t, 3> Bounds(std::int32_t distance);

    std::vector<std::array<std::int32_t, 3>> m_limits;
};

} // namespace ORVEN
