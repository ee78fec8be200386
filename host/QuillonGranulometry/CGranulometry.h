#pragma once

#include <QuillonBase/CAlgorithm.h>
#include <sorblib2image/IImage.h>

#include <cstdint>
#include <map>

namespace ORVEN {

/// Spherical granulometry: how large the balls are that cover a binary structure.
class CGranulometry : public CAlgorithm {
public:
    CGranulometry(const char* name, const IObject* parent);

    /// Measures the pixels that are not 0, or with `onForeground` false those that are: the structure.
    ///
    /// `input`: IMAGE_BINARY_FG of dimension 1, 2 or 3. `output`: IMAGE_GREY_F of the same size. The ball of
    /// a pixel p of the structure is the set of pixels nearer to p than any pixel that is not of the
    /// structure, D(p) being the squared distance to the nearest one in pixels. What lies outside the image
    /// is not of the structure; with bit 0 of `mode` set it limits no ball, and a structure without any other
    /// pixel then has none. The diameter of the ball is 2 sqrt(D(p)) times the spacing of the image along x,
    /// or 1 where that is no positive number; pixels are taken for cubes.
    ///
    /// Not filtered, `output` is the largest diameter of a ball that a pixel lies in: its opening size.
    /// Filtered, it is the diameter of the pixel's own ball where no other ball contains it as a set of
    /// pixels, else 0. Elsewhere it is 0. With a finite `stepWidth` above 0 a diameter is lowered to a
    /// multiple of that width; below one step it is 0. `histogram` is filled anew with the number of pixels
    /// of each diameter but 0. The other bits of `mode` are not looked at.
    ///
    /// Of even and odd widths in between, 2 sqrt(D) is right for both to half a pixel: plates of 1 to 6
    /// pixels give 2, 2, 4, 4, 6 and 6.
    ///
    /// Raises "Image type %1 not supported.", and `CExBadParam` for sizes that differ, for an extent of 65535
    /// or more and for squared distances above 2^30. A cancelled run leaves early, with an output of 0 and an
    /// empty histogram. The result does not depend on the number of threads.
    ///
    /// Time: linear in the pixels for distances and output; balls that the nearest neighbours' do not contain
    /// are painted, the largest first, at a step for each of their pi D rows. Memory beside input and output:
    /// about 5 bytes a pixel. Filtered, beyond D = 128^2 in a 3-d image, balls can be counted that are
    /// contained in another, see `MarkMedialAxis`.
    ///
    /// G. Matheron, Random Sets and Integral Geometry, 1975. T. Hildebrand, P. Rueegsegger, A new method for
    /// the model-independent assessment of thickness in three-dimensional images, 1997; in place of their
    /// distance ridge stands the covering test of E. Remy, E. Thiel, Exact medial axis with Euclidean
    /// distance, 2005, so that no ball is lost.
    void DoSphereGranulometryBinned(const IImage& input, IImage& output,
                                    std::map<float, std::uint64_t>& histogram, double stepWidth,
                                    bool filtered, bool onForeground, int mode);
};

} // namespace ORVEN
