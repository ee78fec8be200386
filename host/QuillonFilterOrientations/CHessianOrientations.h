#pragma once

#include <QuillonBase/CAlgorithm.h>
#include <sorblib2image/IImage.h>

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>

namespace ORVEN {

namespace Impl {
class CForeground;
}

/// The foreground pixels of one row of an image, and the direction at each of them.
struct StDirectionRow {
    std::int64_t y;
    std::int64_t z;
    std::span<const std::int64_t> x;
    std::span<const double> isEvaluated; ///< 1 on a bright ridge, else 0
    /// The components of unit vectors with arbitrary sign; 0 where nothing is evaluated. In 2-d, z is 0.
    std::array<std::span<const double>, 3> direction;
};

/// Takes the rows that one thread has evaluated.
class IDirectionReceiver {
public:
    virtual ~IDirectionReceiver() = default;
    virtual void Add(const StDirectionRow& row) = 0;
};

/// Computes the direction of bright fibres at each foreground pixel of an IMAGE_GREY_8 of 2 or 3 dimensions.
/// It is the direction of least change in grey value: the eigenvector for the eigenvalue of smallest
/// magnitude of the matrix of second derivatives. A pixel is evaluated only if the other eigenvalues indicate
/// a bright ridge: both are negative, and sigma^2 times the one of smaller magnitude is below -0.001 grey
/// values.
///
/// Derivatives are those of the image smoothed by a Gaussian with sigma = max(radius / 2, 1.25 times the
/// largest spacing), in physical units, so that unequal spacing is taken into account. An image without
/// spacing has spacing 1, and a component that is not positive and finite counts as 1. Beyond its borders the
/// image is continued by its outermost pixels.
///
/// Only pixels whose distance to all borders is at least the radius, rounded to pixels of x, are visited.
///
/// Time: 15 (2r + 1) multiplications and additions per pixel of rows that contain foreground, where r is 4
/// sigma in pixels, and one eigenvector per foreground pixel. Memory: 3 (2r + 1) rows of doubles per thread
/// and the data of the foreground of one row, independent of the number of rows. Results do not depend on the
/// number of threads or on the processor.
///
/// Source: A. F. Frangi et al., *Multiscale vessel enhancement filtering*, 1998, for the criterion for
/// ridges. The scale is chosen for dense fibres: a wider Gaussian merges fibres that touch.
class CHessianOrientations : public CAlgorithm {
public:
    CHessianOrientations(const char* name, const IObject* parent);
    ~CHessianOrientations() override;

    /// The default factor for Otsu's threshold. Bright thin fibres are a minority of the pixels, and the
    /// plain threshold includes their half-bright edges, which give poor ridges.
    static const double m_fDefaultOtsuFactor;

    using MakeReceiver = std::function<std::unique_ptr<IDirectionReceiver>()>;

    /// Calls `makeReceiver()` on each participating thread, and gives the receiver that it returns each row
    /// with foreground pixels. The order of rows is arbitrary. Returns false if cancelled.
    bool Visit(const IImage& image, const Impl::CForeground& foreground, const MakeReceiver& makeReceiver);

    double m_fFiberRadius = 1.0; ///< in the unit of the spacing, positive and finite
};

} // namespace ORVEN
