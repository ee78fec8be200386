#pragma once

#include <QuillonBase/CWorkPace.h>
#include <QuillonBase/VectorDispatch.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
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
    /// The limits for (2, 1, 0), (2, 1, 1), (2, 2, 1), (3, 1, 0), (3, 1, 1) and (3, 2, 1). Then a number
    /// below 0: each of the last three vectors is a step longer than one of the first three. If the distances
    /// at the first three fall short of their limits by more than this number, those at the last three do
    /// too.
    using FarLimits = std::array<std::int32_t, 8>;
    static constexpr std::size_t c_shortfall = 6;

    /// For images of that dimension and squared distances up to `greatest`. Memory: 48 bytes for each
    /// distance up to 2^20. The object must not be used once `pace` is cancelled.
    CNearLimits(int dimension, std::int32_t greatest, CWorkPace& pace);

    /// Looks up the limits of the vectors to the 26 neighbours for the pixels of a row. Where 64 pixels, from
    /// a multiple of 64 on, are 0, `limits` can be left unchanged.
    void LookUp(Impl::EnVectors vectors, std::span<const std::int32_t> distances,
                const std::array<std::int32_t*, 3>& limits) const;

    /// The limits for pixels farther away, in a 3-d image. Null for a distance above 2^20.
    [[nodiscard]] const FarLimits* Far(std::int32_t distance) const {
        const auto index = static_cast<std::size_t>(distance);
        return index < m_farLimits.size() ? &m_farLimits[index] : nullptr;
    }

private:
    void PackExcesses();
    void PackFarLimits();

    /// By vector, then by distance: for the 26 neighbours, and at first also for those farther away.
    std::vector<std::vector<std::int32_t>> m_limits;
    /// How far the limits of the 26 neighbours exceed the distance, 10 bits each: a single look-up takes a
    /// third of the time. Empty if distances are too long for that.
    std::vector<std::int32_t> m_excesses;
    std::vector<FarLimits> m_farLimits; ///< by distance
};

} // namespace ORVEN
