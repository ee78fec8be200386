#pragma once

#include "QuillonTransformation/axis/StMedialAxisGenerator.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace ORVEN {

/// The 26 nearest neighbours: one, two and three steps away.
inline constexpr std::array<StSortedVector, 3> c_nearVectors{{{1, 0, 0}, {1, 1, 0}, {1, 1, 1}}};

/// The squared distance from which the ball of a neighbouring pixel contains the ball of a pixel x.
///
/// With R the squared distance at x, the ball at x + v contains the ball at x if and only if the squared
/// distance at x + v is above M = max{|u - v|^2 : |u|^2 < R}. The table holds M for each v of a test
/// neighbourhood and each R. For the 26 nearest neighbours it stores M directly. For the others it stores the
/// excess M - R - |v|^2 + 1 in 16 bits; the excesses of an R are contiguous, because a pixel on the axis
/// needs all of them.
///
/// Memory: 12 bytes per R, plus 2 bytes per R and generator. Filling the table takes a step per generator and
/// sorted vector up to the largest R, and can be cancelled.
class CCoveringTable {
public:
    /// A limit that is never reached: the neighbours at these places are not tested.
    static constexpr std::uint16_t c_never = 0xFFFF;

    /// Returns the table for an image with the given largest squared distance. It is based on the file at
    /// `path`, or on the built-in neighbourhood if the path is empty, or if the reach of the file is shorter
    /// than both the image needs and the built-in one provides. Raises as `ReadMedialAxisNeighborhood`.
    /// Tables of moderate size are kept for the next image. Returns null if cancelled.
    static std::shared_ptr<const CCoveringTable> ForImage(const std::string& path,
                                                          std::int32_t greatestDistance, CWorkPace& pace);

    [[nodiscard]] std::int32_t GreatestDistance() const { return m_greatestDistance; }
    [[nodiscard]] const StMedialAxisNeighborhood& Neighborhood() const { return m_neighborhood; }

    /// M + 1 for the neighbour one step away along `stepCount` axes (1 to 3).
    [[nodiscard]] std::int32_t NearLimit(std::size_t stepCount, std::int32_t distance) const {
        return m_nearLimits[static_cast<std::size_t>(distance)][stepCount - 1];
    }

    /// The generators beyond the 26 nearest neighbours.
    [[nodiscard]] std::span<const StSortedVector> FarVectors() const { return m_farVectors; }
    /// The number of these, counted from the first, that an image with that largest squared distance needs.
    [[nodiscard]] std::size_t FarVectorCount(std::int32_t greatestDistance) const;
    /// Their excesses at a squared distance.
    [[nodiscard]] std::span<const std::uint16_t> FarExcesses(std::int32_t distance) const {
        return {m_farExcesses.get() + static_cast<std::size_t>(distance) * m_farVectors.size(),
                m_farVectors.size()};
    }

private:
    /// For R up to `greatestDistance`, not yet filled.
    CCoveringTable(StMedialAxisNeighborhood neighborhood, std::int32_t greatestDistance);
    /// Returns false if cancelled.
    bool Fill(CWorkPace& pace);

    StMedialAxisNeighborhood m_neighborhood;
    std::int32_t m_greatestDistance;
    std::vector<std::array<std::int32_t, 3>> m_nearLimits;
    std::vector<StSortedVector> m_farVectors;
    std::vector<std::uint32_t> m_farLeastDistances;
    std::vector<std::uint32_t> m_farFoundAt;
    std::unique_ptr<std::uint16_t[]> m_farExcesses; ///< by R
};

} // namespace ORVEN
