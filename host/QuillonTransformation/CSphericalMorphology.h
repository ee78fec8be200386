#pragma once

#include <QuillonBase/CAlgorithm.h>
#include <sorblib2image/IImage.h>

namespace ORVEN {

/// Morphology of a binary image of dimension 1, 2 or 3 with a ball.
///
/// The ball of radius r holds the offsets v with |v|^2 <= T, T being the whole part of r * r, in pixels;
/// spacing plays no part. Radius 0 is the pixel itself. `source` and `result` are IMAGE_BINARY_FG of one
/// size; all that is not 0 is object, the result is 0 and 1. `result` may be `source`.
///
/// The image is an object in an unbounded grid, with background beyond the border: erosion wears an object
/// down at the border too, and closing loses nothing there. The reflected forms continue the image by its
/// mirror images instead. As a mirror image of a pixel is never nearer than the pixel itself, reflected
/// dilation is the same as dilation, and reflected erosion takes no notice of the border.
///
/// All forms raise `CExBadParam` "Radius must not be negative." for a radius below 0 or NaN, and `CException`
/// for types and sizes that do not fit and for extents of 65535 or more, for closing with the border that it
/// needs. A cancelled run leaves early, with 0 everywhere.
///
/// Time: linear in the number of pixels; up to radius 126 a large radius costs little more than a small one.
/// Memory: some dozen lines a thread up to that radius, and four bytes a pixel above. Closing takes account
/// of a border as wide as the radius: up to 126 in time and in a byte for each pixel of image and border,
/// above as `CloseWithLargeBall` says. The result is the same for any number of threads.
///
/// J. Serra, Image analysis and mathematical morphology, 1982; P. Soille, Morphological image analysis, 2003.
/// A pixel is within the ball of a set exactly if its squared distance to the set is at most T, so that all
/// forms are distance transforms of integers.
class CSphericalMorphology : public CAlgorithm {
public:
    CSphericalMorphology(const char* name, const IObject* parent);

    /// The pixels whose ball lies inside the object.
    void Erode(IImage& result, IImage& source, float radius);
    /// The pixels whose ball meets the object.
    void Dilate(IImage& result, IImage& source, float radius);
    /// The dilated erosion: the union of all balls inside the object.
    void Opening(IImage& result, IImage& source, float radius);
    /// The eroded dilation: the complement of all balls outside the object.
    void Closing(IImage& result, IImage& source, float radius);
    void ReflectedErosion(IImage& result, IImage& source, float radius);
    void ReflectedDilation(IImage& result, IImage& source, float radius);
};

} // namespace ORVEN
