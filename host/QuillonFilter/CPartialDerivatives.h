#pragma once

#include <QuillonBase/CAlgorithm.h>
#include <sorblib2image/IImage.h>

namespace ORVEN {

/// Partial derivatives of an image by finite differences, of any order up to 32 along each axis.
///
/// Works in place on IMAGE_GREY_F of dimension 1, 2 or 3. IMAGE_GREY_8, IMAGE_GREY_16 and IMAGE_GREY_32 are
/// accepted too: their derivatives are computed as floats and rounded, and a value outside the range of the
/// type, such as a negative derivative, is replaced by the nearest value in it. The unit is one pixel step:
/// spacing is ignored.
///
/// Along an axis of order k > 0 and more than k + 1 pixels, the derivative is exact if the image is a
/// polynomial of degree k + 1 along it; this holds at every pixel, including the border (see
/// `CFiniteDifferences`). With k + 1 pixels, it is exact for degree k; with fewer, it is 0 everywhere. Axes
/// are processed in the order x, y, z. Arithmetic is in double precision and rounded to float once per axis,
/// for an error of about 6e-8 times the largest value times the sum of the weights, which is 2^k or more.
///
/// Axes beyond the dimension of the image are ignored, whatever their order.
///
/// Time: order + 2 multiply-adds per pixel and axis. Memory: 1024 bytes per pixel of the longest line and per
/// thread, plus a float copy of the image for integer types. Results are the same for any number of threads.
class CPartialDerivatives : public CAlgorithm {
public:
    CPartialDerivatives(const char* name, const IObject* parent);
    ~CPartialDerivatives() override;

    /// Replaces the image by its derivative; orders 0, 0, 0 leave it unchanged. A cancelled run returns
    /// early; some planes may then be differentiated along some of the axes only.
    ///
    /// Raises, before any change, `CExBadParam` "Order %1 of a derivative is not between 0 and 32." and
    /// `CException` "Image type %1 not supported.".
    void Derivative(IImage& image, int orderX, int orderY, int orderZ);
};

} // namespace ORVEN
