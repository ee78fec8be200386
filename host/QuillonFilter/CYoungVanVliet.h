#pragma once

#include <QuillonBase/CAlgorithm.h>
#include <sorblib2image/IImage.h>

namespace ORVEN {

/// Smooths an image with a Gaussian kernel, by a recursive filter along each axis whose cost does not depend
/// on the width of the kernel.
///
/// Input: IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32 or IMAGE_GREY_F of dimension 1, 2 or 3. Output:
/// IMAGE_GREY_F of the same size.
///
/// `sigma` is the standard deviation in pixels, the same along each axis; spacing is ignored. Each line is
/// continued beyond the border with its border value, and the recursion accounts for this exactly. An axis of
/// extent 1 is skipped. Below sigma 0.7, where the recursion deviates from a Gaussian by more than 3 % of its
/// peak, the image is convolved directly with the kernel exp(-k^2 / (2 sigma^2)), |k| <= 5, normalised to sum
/// 1. A sigma that is 0, negative or NaN gives a copy.
///
/// The kernel has exactly the variance sigma^2. It differs from a sampled Gaussian by at most 3.6 % of the
/// peak at sigma 1, 2.1 % at 2, and 1.1 % from 5 on. Its negative lobes are at most 1.3 % of the peak, so a
/// result can exceed the range of the input by about 1 % of it. Arithmetic is in double precision and rounded
/// to float once per axis; numbers below 1.2e-38 are treated as 0. A pixel that is not finite spoils the
/// lines through it.
///
/// Time: linear in the number of pixels, independent of sigma. Memory: 512 bytes per pixel of the longest
/// line and per thread, twice that below sigma 0.7. Results are the same for any number of threads.
///
/// I. T. Young, L. J. van Vliet, Recursive implementation of the Gaussian filter, 1995, with the poles of L.
/// J. van Vliet, I. T. Young, P. W. Verbeek, Recursive Gaussian derivative filters, 1998, and the right end
/// of B. Triggs, M. Sdika, Boundary conditions for Young-van Vliet recursive filtering, 2006.
class CYoungVanVliet : public CAlgorithm {
public:
    CYoungVanVliet(double sigma, const char* name, const IObject* parent);
    ~CYoungVanVliet() override;

    /// Fills all of `result`, which can be the source itself. A cancelled run returns early; some planes of
    /// the result may then be filtered along some of the axes only.
    ///
    /// Raises `CException` "Image type %1 not supported." for any other source or result type, and
    /// `CExBadParam` "Result of size %1 does not fit the source of size %2." or "Sigma %1 is infinite or
    /// above 10000 pixels.".
    void gauss(IImage& result, const IImage& source);

private:
    double m_sigma;
};

} // namespace ORVEN
