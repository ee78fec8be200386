#pragma once

#include <QuillonBase/CWorkPace.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ORVEN {

/// The squared distance from which on the ball of a nearby pixel contains the ball of a pixel.
///
/// Let R be the squared distance at p. The ball at p + v contains the ball at p if the squared distance there
/// exceeds max{|u + v|^2 : |u|^2 < R} over all grid vectors u. For a sorted v, it suffices to consider sorted
/// vectors u. Distances beyond 2^20 use a bound for the continuous ball instead, which contains the discrete
/// one. No ball is therefore wrongly taken to contain another.
class CNearLimits {
public:
    /// The sorted vectors v: the 26 neighbours, then the next vectors that lead to pixels not in line with
    /// one of these.
    static constexpr std::array<std::array<std::int32_t, 3>, 6> c_vectors{
        {{1, 0, 0}, {1, 1, 0}, {1, 1, 1}, {2, 1, 0}, {2, 1, 1}, {2, 2, 1}}};
    static constexpr std::size_t c_count = c_vectors.size();

    /// For images of that dimension and squared distances up to `greatest`. Memory: 24 bytes for each
    /// distance up to 2^20. The object must not be used once `pace` is cancelled.
    CNearLimits(int dimension, std::int32_t greatest, CWorkPace& pace);

    /// The limit for a vector and its permutations and reflections.
    [[nodiscard]] std::int32_t At(std::size_t vector, std::int32_t distance) const {
        const auto index = static_cast<std::size_t>(distance);
        return index < m_limits[vector].size() ? m_limits[vector][index] : Bound(vector, distance);
    }

    /// The limits by distance, unless distances exceed 2^20; then null.
    [[nodiscard]] const std::int32_t* Table(std::size_t vector) const {
        return m_isComplete ? m_limits[vector].data() : nullptr;
    }

private:
    [[nodiscard]] static std::int32_t Bound(std::size_t vector, std::int32_t distance);

    bool m_isComplete;
    std::array<std::vector<std::int32_t>, c_count> m_limits;
};

} // namespace ORVEN
