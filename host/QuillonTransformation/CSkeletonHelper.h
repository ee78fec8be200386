#pragma once

#include "QuillonTransformation/CTriple.h"

#include <sorblib2image/IImage.h>
#include <sorblib2image/ImageView.h>

#include <array>
#include <cstdint>

namespace ORVEN {

/// The Euler number of the 3 x 3 x 3 pixels around a pixel of a binary image, told step by step: the
/// definition that `CLocalEulerNumbers`, which does whole images, is held against.
///
/// Image: one byte a pixel, 0 is background and anything else foreground; dimension 1, 2 or 3. It must
/// outlive the helper. The image is a finite set in an unbounded grid, so that all beyond its border is
/// background, planes beside a 2-d image included.
class CSkeletonHelper {
public:
    struct StCell {
        std::int32_t value = 0;
        bool isVisited = false;
    };
    /// Addressed (i, j, k). Indices 1 to 3 stand for pixels, i along x, j along y, k along z; the centre is
    /// (2, 2, 2). Cells with another index hold 0, for walks that leave the cube.
    using Cube = std::array<std::array<std::array<StCell, 6>, 6>, 6>;
    using Table = std::array<long long, 256>;

    /// Raises `CExBadParam` for an image whose pixels are not bytes.
    explicit CSkeletonHelper(const IImage& image);

    /// Fills a table of 256 entries with the Euler coefficients of an adjacency: entry c is 8 times the share
    /// of a block of 2 x 2 x 2 pixels in the Euler number, where bit b of c is the pixel (b & 1, b >> 1 & 1,
    /// b >> 2). Each cell of the complex that fits the adjacency counts (-1)^dimension, shared evenly by the
    /// blocks that it lies in.
    ///
    ///     code 12  object N6 and background N26: cubes of the grid of pixels and their faces
    ///     code 21  object N26 and background N6: the union of closed unit cubes around the pixels
    ///     code 15  N14_1, which is its own dual: simplices between pixels that are neighbours of each other
    ///     code 18  N14_2, the mirror image in x
    ///
    /// With `ofBackground` entry c tells of block 255 - c. Raises `CExBadParam` "Unknown Euler code '%1'.".
    ///
    /// T. Y. Kong, A. Rosenfeld, Digital topology: introduction and survey, 1989; G. Lohmann, Volumetric
    /// Image Analysis, 1998.
    static void _ecoeff(long long* table, int code, bool ofBackground);

    /// Rebuilds the cube around a position and clears its flags. A cell is 1 if its pixel is foreground
    /// (`object` 1) or background (`object` 0), else 0. With `outside` 0 pixels beyond the border are
    /// background, so that with `object` 0 they are 1: object and background are complements everywhere, and
    /// a face of an object that lies on the border is a face like any other. Any other `outside` makes them
    /// foreground.
    void createCube(const CTriple<long long>& position, int object, int outside);

    /// The Euler number of the cells that hold exactly 1, as a set of its own with nothing around it, by
    /// `m_eulerCoefficients`.
    [[nodiscard]] int EulerNumber() const;

    Cube m_cube{};
    Table m_eulerCoefficients{}; ///< for `_ecoeff`; empty at first

private:
    /// Whether the pixel is foreground; `outside` where there is none.
    [[nodiscard]] bool IsForeground(std::int64_t x, std::int64_t y, std::int64_t z, bool outside) const;

    CImageView<const unsigned char> m_pixels;
};

} // namespace ORVEN
