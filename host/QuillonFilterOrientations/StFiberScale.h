#pragma once

#include "QuillonFilterOrientations/StPixelBox.h"

#include <sorblib2image/IImage.h>

namespace ORVEN::Impl {

/// The scale parameters that follow from a fibre radius and the spacing of an image.
struct StFiberScale {
    /// `fiberRadius` must be positive and finite; its unit is that of the spacing of the image.
    StFiberScale(const IImage& image, double fiberRadius);
    /// The same for an image of that size and spacing.
    StFiberScale(const CSize& size, const std::array<double, 3>& imageSpacing, double fiberRadius);

    std::size_t dimension;
    std::array<double, 3> spacing; ///< 1 for components that are missing or not positive and finite
    double sigma;                  ///< of the Gaussian, in the unit of the spacing
    std::array<double, 3> sigmaPixels;
    std::int64_t border; ///< the radius in pixels along x
    StPixelBox area;     ///< the pixels at least `border` away from the ends of each axis
};

} // namespace ORVEN::Impl
