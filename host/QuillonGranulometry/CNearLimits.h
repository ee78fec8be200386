#pragma once

#include <QuillonBase/CWorkPace.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ORVEN {

/// The squared distance from which on the ball of an adjacent pixel contains the ball of a pixel.
///
/// Let R be the squared distance at p. The ball at p + v contains the ball at p if the squared distance there
/// exceeds max{|u + v|^2 : |u|^2 < R} over all grid vectors u. For a sorted v, it suffices to consider sorted
/// vectors u. Distances beyond 2^20 use a bound for the continuous ball instead, which contains the discrete
/// one. No ball is therefore wrongly taken to contain another.
class CNearLimits {
public:
    /// For images of that dimension and squared distances up to `greatest`. Memory: 12 bytes for each
    /// distance up to 2^20. The object must not be used once `pace` is cancelled.
    CNearLimits(int dimension, std::int32_t greatest, CWorkPace& pace);

    /// The limits for neighbours that are one step away along one, two and three axes.
    [[nodiscard]] std::array<std::int32_t, 3> At(std::int32_t distance) const {
        const auto index = static_cast<std::size_t>(distance);
        return index < m_limits.size() ? m_limits[index] : Bounds(distance);
    }

private:
    [[nodiscard]] static std::array<std::int32_t, 3> Bounds(std::int32_t distance);

    std::vector<std::array<std::int32_t, 3>> m_limits;
};

} // namespace ORVEN
