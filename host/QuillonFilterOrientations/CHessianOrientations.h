#pragma once

#include <QuillonBase/CAlgorithm.h>
#include <sorblib2image/IImage.h>

#include <array>
#include <cstdint>
#include <functional>
#include <span>

namespace ORVEN {

namespace Impl {
class CForeground;
}

/// The foreground of one row of an image, and the direction at each pixel of it.
struct StDirectionRow {
    std::int64_t y;
    std::int64_t z;
    std::span<const std::int64_t> x;
    std::span<const double> isEvaluated; ///< 1 where there is a bright ridge, else 0
    /// The components of unit vectors, of either sign; 0 where nothing is evaluated. In 2-d z is 0.
    std::array<std::span<const double>, 3> direction;
};

/// The direction of bright fibres at each pixel of the foreground of an IMAGE_GREY_8 of 2 or 3 dimensions:
/// that along which grey values change least, the eigenvector for the eigenvalue of least magnitude of the
/// matrix of second derivatives. A pixel is evaluated if the other eigenvalues say that it lies on a bright
/// ridge: both are negative, and sigma^2 times that of lesser magnitude is below -0.001 grey values.
///
/// Derivatives are those of the image smoothed by a Gaussian of sigma = max(radius / 2, 1.25 of the widest
/// spacing), in physical units, unequal spacing included; an image without spacing has 1, and a spacing that
/// is not positive and finite counts as 1. Beyond the borders the outermost pixels are repeated.
///
/// Only pixels at least the radius, rounded to pixels of x, away from all borders are visited.
///
/// Time: 15 (2r + 1) multiplications and additions a pixel of rows that hold foreground, r = 4 sigma in
/// pixels, and one eigenvector a foreground pixel. Memory: 3 (2r + 1) rows of doubles a thread and what is
/// known of the foreground of a row; nothing grows with the volume. Results are the same for any number of
/// threads and on any processor.
///
/// A. F. Frangi et al., Multiscale vessel enhancement filtering, 1998: which eigenvalues make a ridge. The
/// scale is chosen for crowds, where a wider Gaussian mixes fibres that touch.
class CHessianOrientations : public CAlgorithm {
public:
    CHessianOrientations(const char* name, const IObject* parent);
    ~CHessianOrientations() override;

    /// What Otsu's threshold is multiplied by: bright thin fibres are a minority, and his threshold lies in
    /// their half-bright rims, which make poor ridges.
    static const double m_fDefaultOtsuFactor;

    /// Calls `makeReceiver()` on each thread that takes part, and what it returns for each row with
    /// foreground. Rows come in any order. False if cancelled.
    bool Visit(const IImage& image, const Impl::CForeground& foreground,
               const std::function<std::function<void(const StDirectionRow&)>()>& makeReceiver);

    double m_fFiberRadius = 1.0; ///< in the unit of the spacing, positive and finite
};

} // namespace ORVEN
