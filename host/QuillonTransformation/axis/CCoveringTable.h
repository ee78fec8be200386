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

/// From which squared distance on the ball of a neighbouring pixel contains that of a pixel x.
///
/// With R the squared distance at x, the ball at x + v contains the one at x if the squared distance there is
/// above M = max{|u - v|^2 : |u|^2 < R}, and only then. The table holds M for each v of a test neighbourhood
/// and each R: for the 26 nearest neighbours as it is, for the others as the excess M - R - |v|^2 + 1 in 16
/// bits, all those of an R side by side, as a pixel on the axis asks for all of them.
///
/// 12 bytes for each R, and 2 for each R and generator. The time to fill it is a step for each generator and
/// each sorted vector up to the greatest R; a cancellation is noticed meanwhile.
class CCoveringTable {
public:
    /// Never reached: the ball of no neighbour at these places is looked at.
    static constexpr std::uint16_t c_never = 0xFFFF;

    /// The table for an image whose greatest squared distance is given, from the file at a path, or from what
    /// is built in where the path is empty or the file has less to offer. Raises as
    /// `ReadMedialAxisNeighborhood`. Tables of moderate size are kept for the next image. Null if cancelled.
    static std::shared_ptr<const CCoveringTable> ForImage(const std::string& path,
                                                          std::int32_t greatestDistance, CWorkPace& pace);

    [[nodiscard]] std::int32_t GreatestDistance() const { return m_greatestDistance; }
    [[nodiscard]] const StMedialAxisNeighborhood& Neighborhood() const { return m_neighborhood; }

    /// M + 1 for the neighbour at one, two or three steps along as many axes.
    [[nodiscard]] std::int32_t NearLimit(std::size_t stepCount, std::int32_t distance) const {
        return m_nearLimits[static_cast<std::size_t>(distance)][stepCount - 1];
    }

    /// The generators beyond the 26 nearest neighbours.
    [[nodiscard]] std::span<const StSortedVector> FarVectors() const { return m_farVectors; }
    /// How many of them, from the first on, an image of that greatest squared distance needs.
    [[nodiscard]] std::size_t FarVectorCount(std::int32_t greatestDistance) const;
    /// Their excesses at a squared distance.
    [[nodiscard]] std::span<const std::uint16_t> FarExcesses(std::int32_t distance) const {
        return {m_farExcesses.get() + static_cast<std::size_t>(distance) * m_farVectors.size(),
                m_farVectors.size()};
    }

private:
    /// For R up to `greatestDistance`, without content.
    CCoveringTable(StMedialAxisNeighborhood neighborhood, std::int32_t greatestDistance);
    /// False if cancelled.
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
