#pragma once

#include "measurement/SurfaceWeights.h"
#include "pixels/Geometry.h"

#include <QuillonBase/IProgress.h>
#include <QuillonNumeric/StLatticePoint.h>
#include <sorblib2image/CImage.h>

#include <array>
#include <cstdint>
#include <limits>
#include <map>
#include <vector>

namespace quillon::basics {

/// What one pass over the pixels collects about an object. Coordinates are pixels.
struct StLabelSums {
    std::int64_t voxels = 0;
    std::array<std::int64_t, 3> sum{};                     ///< of x, y and z
    std::array<std::array<std::int64_t, 3>, 3> products{}; ///< of two coordinates
    std::array<std::int64_t, 3> first{};                   ///< the bounding box, both ends included
    std::array<std::int64_t, 3> last{};
    double surface = 0.0;
    /// The first and the last pixel of each row, in raster order: the convex hull is spanned by these.
    std::vector<ORVEN::StLatticePoint> rowEnds;

    // Grey values; NaN is skipped.
    std::int64_t numbers = 0;
    double shift = 0.0; ///< the first value; the sums are relative to it
    double greySum = 0.0;
    double greySquares = 0.0;
    double least = std::numeric_limits<double>::infinity();
    double greatest = -std::numeric_limits<double>::infinity();
};

/// Collects the sums of all labels but 0 of a label image. `grey` is null or has the same size. What lies
/// outside of the image is background. The map is ordered by label; after a cancelled run, which the progress
/// sink knows about, it is incomplete.
///
/// Time: one pass, on one thread, so that sums do not depend on threads. Memory: 48 bytes for each row of
/// each object.
[[nodiscard]] std::map<std::uint32_t, StLabelSums> ScanLabels(const ORVEN::CImage& labels,
                                                              const ORVEN::CImage* grey,
                                                              const std::vector<StDirection>& directions,
                                                              ORVEN::IProgress& progress);

} // namespace quillon::basics
