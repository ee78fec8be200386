#pragma once

#include <QuillonBase/CAlgorithm.h>
#include <sorblib2image/IImage.h>

namespace ORVEN {

/// Partial derivatives of an image by finite differences, of any order up to 32 along each axis.
///
/// Works in place on IMAGE_GREY_F of dimension 1, 2 or 3. IMAGE_GREY_8, IMAGE_GREY_16 and IMAGE_GREY_32 are
/// taken too: they are derived as floats and rounded, and what their type cannot hold, such as a negative
/// derivative, becomes its nearest value. The unit is one pixel step: spacing plays no part.
///
/// An axis of order k > 0 and more than k + 1 pixels is derived exactly if the image is a polynomial of
/// degree k + 1 at most along it, at every pixel, the border included: see `CFiniteDifferences`. With k + 1
/// pixels degree k is exact, with fewer the derivative is 0 everywhere. Axes are taken in the order x, y, z;
/// arithmetic is double, and rounded to float once an axis, which is good for an error of about 6e-8 times
/// the largest value times the sum of the weights, 2^k and more.
///
/// The dimensions that an image lacks are not derived along, whatever their order.
///
/// Time: order + 2 multiply-adds a pixel and axis. Memory: 1024 bytes a pixel of the longest line and thread;
/// for integers a copy as floats beside. Results are the same for any number of threads.
class CPartialDerivatives : public CAlgorithm {
public:
    CPartialDerivatives(const char* name, const IObject* parent);
    ~CPartialDerivatives() override;

    /// Replaces the image by its derivative; orders 0, 0, 0 leave it as it is. A cancelled run leaves early,
    /// with planes that are derived along some of the axes only.
    ///
    /// Raises, before any change, `CExBadParam` "Order %1 of a derivative is not between 0 and 32." and
    /// `CException` "Image type %1 not supported.".
    void Derivative(IImage& image, int orderX, int orderY, int orderZ);
};

} // namespace ORVEN
