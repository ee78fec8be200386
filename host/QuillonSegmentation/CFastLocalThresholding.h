#pragma once

#include <QuillonBase/CAlgorithm.h>
#include <sorblib2image/IImage.h>

#include <cstdint>

namespace ORVEN {

/// Binarises a grey image with a separate threshold for each pixel, computed from the mean m and the standard
/// deviation sd of the grey values in a cube around it (in 2-d, a square). The cost per pixel does not depend
/// on the size of the cube.
///
/// Input: IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32 or IMAGE_GREY_F of dimension 1, 2 or 3. Output:
/// IMAGE_BINARY_FG of the same size, 1 where the grey value is above the threshold t, else 0.
///
/// The cube contains the pixels at most `m_nWindowSize` = w away along each axis; spacing is ignored. At the
/// border the cube is clipped to the image, and m and sd are those of the remaining pixels (sd is the
/// population standard deviation, divided by the number of pixels). With k = `m_fCoefficient`:
///
///     method 0, Niblack:  t = sd k + m
///     method 1, Sauvola:  t = ((sd / R - 1) k + 1) m
///
/// R is 127 for 8 bits, 32767 for 16 bits, and half the range of the values present for 32 bits and floats (1
/// if that is 0). For integers, t is rounded (t + 0.5, clamped to the range of the type, truncated), and sums
/// and variance are exact for windows of up to 2^32 pixels. For floats, t remains a double. The values are
/// shifted by their mean before squaring, so that a small variation on a large value is preserved, and a
/// variance that could be due to rounding alone is treated as 0, so that constant areas are background as
/// they are for integers. A float that is not finite makes every window that contains it background and is
/// ignored for R.
///
/// Time: independent of w. Memory: per thread and pixel of a plane, 8 to 24 bytes for integers (depending on
/// the largest possible sum), 32 to 36 for floats. Results are the same for any number of threads.
///
/// W. Niblack, An Introduction to Digital Image Processing, 1986. J. Sauvola, M. Pietikainen, Adaptive
/// document image binarization, 2000. Box sums for local thresholds: F. Shafait, D. Keysers, T. Breuel,
/// Efficient implementation of local adaptive thresholding techniques using integral images, 2008; here sums
/// run along z and y instead, so that no table of the whole image is held and none can overflow. Window sums
/// of floats without subtraction: after J. Gil, M. Werman, Computing 2-D min, median and max filters, 1993.
class CFastLocalThresholding : public CAlgorithm {
public:
    CFastLocalThresholding(const char* name, const IObject* parent);

    /// Fills all of `output`. Checks for cancellation at each row; a cancelled run returns early and leaves
    /// the rest of the output unchanged.
    ///
    /// Raises `CException` "Image type %1 not supported." for any other input or output type, and
    /// `CExBadParam` "Output of size %1 does not fit the input of size %2." or
    /// "Unknown thresholding method %1.".
    void Binarize(IImage& output, const IImage& input);

    std::int32_t m_nWindowSize = 7; ///< half width w in pixels; negative values count as 0
    double m_fCoefficient = -0.1;   ///< k
    std::int32_t m_nMethod = 0;     ///< 0 for Niblack, 1 for Sauvola
};

} // namespace ORVEN
