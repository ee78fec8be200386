#pragma once

#include "QuillonFilterOrientations/StPixelBox.h"

#include <sorblib2image/IImage.h>

namespace ORVEN::Impl {

/// What a fibre radius means on the pixels of an image.
struct StFiberScale {
    /// The radius is positive, finite and in the unit of the image's spacing.
    StFiberScale(const IImage& image, double fiberRadius);

    std::size_t dimension;
    std::array<double, 3> spacing; ///< 1 where the image has none, or none that is positive and finite
    double sigma;                  ///< of the Gaussian, in the unit of the spacing
    std::array<double, 3> sigmaPixels;
    std::int64_t border; ///< the radius in pixels along x
    StPixelBox area;     ///< the pixels at least `border` away from the ends, on each axis that there is
};

} // namespace ORVEN::Impl
