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
    /// The sorted vectors v: the 26 neighbours, then the next vectors that lead to pixels not in line with
    /// one of these.
    static constexpr std::array<std::array<std::int32_t, 3>, 6> c_vectors{
        {{1, 0, 0}, {1, 1, 0}, {1, 1, 1}, {2, 1, 0}, {2, 1, 1}, {2, 2, 1}}};
    static constexpr std::size_t c_count = c_vectors.size();

    /// For images of that dimension and squared distances up to `greatest`. Memory: 28 bytes for each
    /// distance up to 2^20. The object must not be used once `pace` is cancelled.
    CNearLimits(int dimension, std::int32_t greatest, CWorkPace& pace);

    /// The limit for a vector and its permutations and reflections.
    [[nodiscard]] std::int32_t At(std::size_t vector, std::int32_t distance) const {
        const auto index = static_cast<std::size_t>(distance);
        return index < m_limits[vector].size() ? m_limits[vector][index] : Bound(vector, distance);
    }

    /// Looks up the limits of the vectors to the 26 neighbours for the pixels of a row. Where 64 pixels, from
    /// a multiple of 64 on, are 0, `limits` can be left unchanged.
    void LookUp(Impl::EnVectors vectors, std::span<const std::int32_t> distances,
                const std::array<std::int32_t*, 3>& limits) const;

private:
    void PackExcesses();
    [[nodiscard]] static std::int32_t Bound(std::size_t vector, std::int32_t distance);

    std::array<std::vector<std::int32_t>, c_count> m_limits;
    /// How far the limits of the 26 neighbours exceed the distance, 10 bits each: a single look-up takes a
    /// third of the time. Empty if distances are too long for that.
    std::vector<std::int32_t> m_excesses;
};

} // namespace ORVEN
