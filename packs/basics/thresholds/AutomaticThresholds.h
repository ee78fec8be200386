#pragma once

#include "thresholds/CGreyHistogram.h"

#include <cstdint>
#include <vector>

/// Thresholds chosen from a histogram. A pixel is above a threshold if it is greater.
namespace quillon::basics {

/// The thresholds, in ascending order, that divide the grey values into classes with the greatest variance
/// between them. With several equal choices the lowest thresholds win. If there are fewer values than
/// classes, each value is a class; a single value is its own threshold.
///
/// The optimum is exact for the histogram: dynamic programming over the values, with the division of the
/// range of candidates that the monotonicity of the best ones allows. Time: O(classes n log n) for n values
/// that occur, so that five classes cost little more than two.
///
/// Sources: N. Otsu, *A threshold selection method from gray-level histograms*, 1979; for several classes P.
/// Liao, T. Chen, P. Chung, *A fast algorithm for multilevel thresholding*, 2001; for the division, X. Wu,
/// *Optimal quantization by matrix searching*, 1991.
[[nodiscard]] std::vector<double> OtsuThresholds(const CGreyHistogram& histogram, std::int32_t classes);

/// The threshold with the least cross-entropy between the image and its two classes, found by iteration from
/// the mean.
///
/// Sources: C. Li, C. Lee, *Minimum cross entropy thresholding*, 1993; C. Li, P. Tam, *An iterative algorithm
/// for minimum cross entropy thresholding*, 1998.
[[nodiscard]] double LiThreshold(const CGreyHistogram& histogram);

/// The bin that lies farthest below the line from the highest bin to the end of the longer tail.
///
/// Source: G. Zack, W. Rogers, S. Latt, *Automatic measurement of sister chromatid exchange frequency*, 1977.
[[nodiscard]] double TriangleThreshold(const CGreyHistogram& histogram);

} // namespace quillon::basics
