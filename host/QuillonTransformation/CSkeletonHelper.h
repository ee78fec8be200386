#pragma once

#include "QuillonTransformation/CTriple.h"

#include <sorblib2image/IImage.h>
#include <sorblib2image/ImageView.h>

#include <array>
#include <cstdint>

namespace ORVEN {

/// Computes the Euler number of the 3 x 3 x 3 pixels around a pixel of a binary image, directly from the
/// definition. It serves as the reference for `CLocalEulerNumbers`, which processes whole images.
///
/// Image: one byte per pixel, 0 is background and any other value foreground; dimension 1, 2 or 3. It must
/// outlive the helper. The image is a finite set in an unbounded grid, so everything beyond its border is
/// background, including the planes next to a 2-d image.
class CSkeletonHelper {
public:
    struct StCell {
        std::int32_t value = 0;
        bool isVisited = false;
    };
    /// Indexed (i, j, k). Indices 1 to 3 are pixels, i along x, j along y, k along z; the centre is (2, 2,
    /// 2). Cells with other indices hold 0, for loops that leave the cube.
    using Cube = std::array<std::array<std::array<StCell, 6>, 6>, 6>;
    using Table = std::array<long long, 256>;

    /// Raises `CExBadParam` for an image whose pixels are not bytes.
    explicit CSkeletonHelper(const IImage& image);

    /// Fills a table of 256 entries with the Euler coefficients of an adjacency. Entry c is 8 times the
    /// contribution of a block of 2 x 2 x 2 pixels to the Euler number, where bit b of c is the pixel (b & 1,
    /// b >> 1 & 1, b >> 2). Each cell of the complex that belongs to the adjacency counts (-1)^dimension,
    /// shared equally by the blocks that contain it.
    ///
    ///     code 12  object N6 and background N26: cubes of the grid of pixels and their faces
    ///     code 21  object N26 and background N6: the union of closed unit cubes around the pixels
    ///     code 15  N14_1, which is its own dual: simplices between pixels that are neighbours of each other
    ///     code 18  N14_2, the mirror image in x
    ///
    /// With `isOfBackground`, entry c describes block 255 - c. Raises `CExBadParam` "Unknown Euler code
    /// '%1'.".
    ///
    /// T. Y. Kong, A. Rosenfeld, Digital topology: introduction and survey, 1989; G. Lohmann, Volumetric
    /// Image Analysis, 1998.
    static void _ecoeff(long long* table, int code, bool isOfBackground);

    /// Rebuilds the cube around a position and clears its flags. A cell is 1 if its pixel is foreground
    /// (`object` 1) or background (`object` 0), else 0. If `outside` is 0, pixels beyond the border are
    /// background, so their cells are 1 if `object` is 0. Object and background are then complements
    /// everywhere, and a face of an object on the border is treated like any other. With any other value of
    /// `outside`, pixels beyond the border are foreground.
    void createCube(const CTriple<long long>& position, int object, int outside);

    /// The Euler number of the cells that hold exactly 1, taken as an isolated set, according to
    /// `m_eulerCoefficients`.
    [[nodiscard]] int EulerNumber() const;

    Cube m_cube{};
    Table m_eulerCoefficients{}; ///< from `_ecoeff`; initially empty

private:
    /// Whether the pixel is foreground; returns `outside` for positions outside the image.
    [[nodiscard]] bool IsForeground(std::int64_t x, std::int64_t y, std::int64_t z,
                                    bool isOutsideObject) const;

    CImageView<const unsigned char> m_pixels;
};

} // namespace ORVEN
