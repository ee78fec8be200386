#pragma once

#include <sorblib2image/IImage.h>

#include <array>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

namespace ORVEN {

/// The Euler number of the 3 x 3 x 3 pixels around each pixel of a binary image, background pixels and those
/// on the border included. Equal to `CSkeletonHelper::createCube(position, 1, 0)` and `EulerNumber()` at each
/// position, and some two hundred times as fast.
///
/// The figure of a cube is a sum over blocks of 2 x 2 x 2 pixels. Cut along x into three slabs of 3 x 3
/// pixels, each a code of 9 bits, the cube a b c has the blocks below a, between a and b, between b and c,
/// and above c, with nothing beyond. A pair a b has those below a, between a and b, and above b; so
///
///     E(a b c) = E(a b) + E(b c) - E(b)
///
/// and a table of 2^18 bytes for pairs does for all cubes. E(b c) is E(a b) of the next pixel along x: one
/// look-up in that table a pixel. From row to row a code moves by a line and takes in three new pixels.
///
/// Time is linear in pixels, after a millisecond for the tables. Memory: the tables and two rows.
class CLocalEulerNumbers {
public:
    /// What was met; the least is above the greatest in an image without pixels.
    struct StRange {
        int least = std::numeric_limits<int>::max();
        int greatest = std::numeric_limits<int>::min();
    };

    /// The code is one of `CSkeletonHelper::_ecoeff`, which raises for others.
    explicit CLocalEulerNumbers(int code);

    /// Writes the figures of an image of one byte a pixel, of which 0 is background, into an image of floats.
    /// Raises `CExBadParam` for other pixel sizes and for images of different sizes.
    [[nodiscard]] StRange Calculate(IImage& figures, const IImage& image) const;

private:
    static constexpr std::size_t c_slabCount = 512;

    void CalculateRow(std::span<const std::uint16_t> slabs, std::span<std::int8_t> figures) const;

    // Indexed by a slab, and by a slab and 512 times the one beside it.
    std::array<std::int8_t, c_slabCount> m_ofSlab{};
    std::vector<std::int8_t> m_ofPair;
};

} // namespace ORVEN
