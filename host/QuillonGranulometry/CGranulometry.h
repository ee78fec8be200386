#pragma once

#include <QuillonBase/CAlgorithm.h>
#include <sorblib2image/IImage.h>

#include <cstdint>
#include <map>

namespace ORVEN {

/// Spherical granulometry: measures the sizes of the balls that cover a binary structure.
class CGranulometry : public CAlgorithm {
public:
    CGranulometry(const char* name, const IObject* parent);

    /// Measures the structure: the pixels that are not 0, or the pixels that are 0 if `onForeground` is
    /// false.
    ///
    /// `input` is an IMAGE_BINARY_FG of dimension 1, 2 or 3, `output` an IMAGE_GREY_F of the same size. D(p)
    /// is the squared distance, in pixels, from a pixel p of the structure to the nearest pixel outside the
    /// structure. The ball of p is the set of pixels closer to p than that. Everything outside the image
    /// counts as outside the structure. If bit 0 of `mode` is set, it does not limit balls instead; a
    /// structure that fills the whole image then has none. The other bits of `mode` are ignored. The diameter
    /// of the ball is 2 sqrt(D(p)) times the spacing along x, or 1 if that is not a positive number. Pixels
    /// are treated as cubes.
    ///
    /// Unfiltered, the output of a pixel is its opening size: the largest diameter of all balls that contain
    /// it. Filtered, it is the diameter of its own ball if no other ball contains that ball as a set of
    /// pixels, else 0. Outside the structure it is 0. If `stepWidth` is finite and above 0, diameters are
    /// rounded down to a multiple of it, and diameters below one step to 0. `histogram` is replaced by the
    /// number of pixels for each diameter other than 0.
    ///
    /// The diameter of a plate is exact for an even thickness and 1 pixel too large for an odd one:
    /// thicknesses of 1 to 6 pixels give 2, 2, 4, 4, 6 and 6.
    ///
    /// Raises `CException` "Image type %1 not supported.", and `CExBadParam` if the sizes differ, if an
    /// extent is 65535 or more, or if squared distances exceed 2^30; and as `RequireMemory` for a list of
    /// balls that does not fit. A cancelled run returns early with an output of 0 and an empty histogram. The
    /// result does not depend on the number of threads.
    ///
    /// Time: linear in the number of pixels for distances, small balls and output. Larger balls are assigned
    /// to boxes of pixels, at a cost per pixel that depends little on their radii: measured, it doubles at
    /// most while the radii grow from 16 to 128 pixels. In common structures the whole takes 3 to 12 times as
    /// long as the distances. In the worst case, if every ball were the largest one somewhere in every box,
    /// it would be the number of balls times that of pixels, see `CoverWithBalls`. Filtering compares each
    /// ball with those around it in addition, see `IsMaximalBall`.
    ///
    /// Memory beside input and output: 1.5 to 3 bytes per pixel in common structures. These are 4 bytes for
    /// each ball with D up to 30, and for each larger one 16, 32 while they are sorted, and 4 again for each
    /// box of 2^13 pixels or more that needs it; and per thread 3 kB for each pixel along x. Filtering takes
    /// 4 bytes per pixel more, unless the image is 3-d and bit 0 of `mode` is not set: then it takes a byte
    /// per pixel and a table, see `MarkMedialAxis`. With filtering, in a 3-d image with D above 128^2, the
    /// result may include balls that are contained in another, see `MarkMedialAxis`.
    ///
    /// Sources: G. Matheron, *Random Sets and Integral Geometry*, 1975; T. Hildebrand, P. Rueegsegger, *A new
    /// method for the model-independent assessment of thickness in three-dimensional images*, 1997. Instead
    /// of their distance ridge, the covering test of E. Remy, E. Thiel, *Exact medial axis with Euclidean
    /// distance*, 2005, is used, which loses no ball.
    void DoSphereGranulometryBinned(const IImage& input, IImage& output,
                                    std::map<float, std::uint64_t>& histogram, double stepWidth,
                                    bool isFiltered, bool onForeground, int mode);
};

} // namespace ORVEN
