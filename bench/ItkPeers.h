#pragma once

#include <sorblib2image/CImage.h>

#include <array>
#include <functional>

/// The filters of ITK that are compared with ours, on one thread.
///
/// Each function prepares a filter for one of our images, which it reads without copying, and returns a run
/// of it. A run can be repeated, and the image has to live until the last one.
namespace bench {

using Run = std::function<void()>;

/// Distances from the border of the foreground, to both sides.
Run ItkDistanceMap(const ORVEN::CImage& binary, const std::array<double, 3>& spacing = {1.0, 1.0, 1.0});

/// Erosion with a ball.
Run ItkErosion(const ORVEN::CImage& binary, unsigned long radius);

/// The recursive Gaussian filter of a float image.
Run ItkGauss(const ORVEN::CImage& image, double sigma);

/// A derivative of a float image by finite differences.
Run ItkDerivative(const ORVEN::CImage& image, unsigned axis, unsigned order);

/// The watershed with lines, from 32-bit seeds if there are any, otherwise from minima. The image has 8 bits
/// or floats.
Run ItkWatershed(const ORVEN::CImage& image, const ORVEN::CImage* seeds, bool isFullyConnected);

} // namespace bench
