#pragma once

#include <QuillonBase/CAlgorithm.h>
#include <sorblib2image/IImage.h>

namespace ORVEN {

/// Morphology of a binary image of dimension 1, 2 or 3 with a ball.
///
/// The ball of radius r contains the offsets v with |v|^2 <= T, where T is the integer part of r * r, in
/// pixels; spacing is ignored. Radius 0 is the pixel itself. `source` and `result` are IMAGE_BINARY_FG of the
/// same size; every non-zero pixel is object, and the result consists of 0 and 1. `result` may be `source`.
///
/// The image is an object in an unbounded grid, with background beyond the border. So erosion removes object
/// pixels at the border too, and closing loses none there. The reflected forms continue the image by its
/// mirror images instead. The mirror image of a pixel is never nearer than the pixel itself, so reflected
/// dilation is the same as dilation, and reflected erosion is not affected by the border.
///
/// All forms raise `CExBadParam` "Radius must not be negative." for a radius that is negative or NaN, and
/// `CException` for types and sizes that do not fit and for extents of 65535 or more; for closing, the
/// extents include the border that it needs. A cancelled run returns early, with 0 everywhere.
///
/// Time: linear in the number of pixels; up to radius 126, a large radius costs little more than a small one.
/// Memory: a few dozen lines per thread up to that radius, and four bytes per pixel above it. Closing also
/// processes a border as wide as the radius: up to radius 126 this takes time, and one byte per pixel of
/// image and border; above it, see `CloseWithLargeBall`. The result is the same for any number of threads.
///
/// J. Serra, Image analysis and mathematical morphology, 1982; P. Soille, Morphological image analysis, 2003.
/// A pixel is within the ball of a set exactly if its squared distance to the set is at most T, so all forms
/// are integer distance transforms.
class CSphericalMorphology : public CAlgorithm {
public:
    CSphericalMorphology(const char* name, const IObject* parent);

    /// Keeps the pixels whose ball lies inside the object.
    void Erode(IImage& result, IImage& source, float radius);
    /// Sets the pixels whose ball meets the object.
    void Dilate(IImage& result, IImage& source, float radius);
    /// The dilated erosion: the union of all balls inside the object.
    void Opening(IImage& result, IImage& source, float radius);
    /// The eroded dilation: the complement of all balls outside the object.
    void Closing(IImage& result, IImage& source, float radius);
    void ReflectedErosion(IImage& result, IImage& source, float radius);
    void ReflectedDilation(IImage& result, IImage& source, float radius);
};

} // namespace ORVEN
