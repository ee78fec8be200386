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
/// Memory: 20 bytes per R, plus 2 bytes per generator and R; for images with R above 128^2, only per R that
/// occurs. An image needs at least (2 sqrt(R) - 1)^3 pixels for a ball of squared radius R, so that with the
/// built-in list the table takes at most 3 bytes per pixel. A list of longer reach takes 2 bytes for each of
/// its generators and each R that occurs. A table that does not fit into the memory is refused before it is
/// filled. Filling it takes a step per generator and sorted vector up to the largest R, and can be cancelled.
class CCoveringTable {
public:
    /// A limit that is never reached: the neighbours at these places are not tested.
    static constexpr std::uint16_t c_never = 0xFFFF;

    /// Returns the table for an image with the given largest squared distance. It is based on the file at
    /// `path`, or on the built-in neighbourhood if the path is empty, or if the reach of the file is shorter
    /// than both the image needs and the built-in one provides. Raises as `ReadMedialAxisNeighborhood`, and
    /// as `RequireMemory` for a table that does not fit. Tables up to R = 128^2 are kept for the next image.
    /// Beyond that, `occurs` can have an element per R that is 0 if no pixel has that squared distance;
    /// excesses of such an R must not be asked for. Returns null if cancelled.
    static std::shared_ptr<const CCoveringTable> ForImage(const std::string& path,
                                                          std::int32_t greatestDistance, CWorkPace& pace,
                                                          std::span<const std::uint8_t> occurs = {});
    /// Whether the table of an image can be used for other images, so that `occurs` is ignored.
    [[nodiscard]] static bool IsShared(std::int32_t greatestDistance);

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
        const std::size_t row = m_rows[static_cast<std::size_t>(distance)];
        return {m_farExcesses.get() + row * m_farVectors.size(), m_farVectors.size()};
    }
    /// The number of them, counted from the first, beyond which none is tested at this squared distance. Few
    /// are for small balls, and none below 9.
    [[nodiscard]] std::size_t FarVectorCountAt(std::int32_t distance) const {
        return m_farCounts[static_cast<std::size_t>(distance)];
    }

private:
    static constexpr std::uint32_t c_noRow = 0xFFFFFFFF;

    /// For R up to `greatestDistance`, or only those that occur, not yet filled.
    CCoveringTable(StMedialAxisNeighborhood neighborhood, std::int32_t greatestDistance,
                   std::span<const std::uint8_t> occurs);
    /// Returns false if cancelled.
    bool Fill(CWorkPace& pace);

    StMedialAxisNeighborhood m_neighborhood;
    std::int32_t m_greatestDistance;
    std::vector<std::array<std::int32_t, 3>> m_nearLimits;
    std::vector<StSortedVector> m_farVectors;
    std::vector<std::uint32_t> m_farLeastDistances;
    std::vector<std::uint32_t> m_farFoundAt;
    std::vector<std::uint32_t> m_farCounts;         ///< by R
    std::vector<std::uint32_t> m_rows;              ///< of the excesses, by R; `c_noRow` if it does not occur
    std::unique_ptr<std::uint16_t[]> m_farExcesses; ///< by row
};

} // namespace ORVEN
