#pragma once

#include "QuillonTransformation/distance/EnSeeds.h"

#include <QuillonBase/IProgress.h>
#include <sorblib2image/IImage.h>

#include <array>
#include <cstdint>
#include <optional>

namespace ORVEN {

/// Extents from this value on are rejected: the squares of longer distances do not fit into 32 bits.
inline constexpr std::int64_t c_tooLargeExtent = 65535;

/// The parameters of a distance transform of a whole image.
struct StDistanceTransform {
    EnSeeds seeds = EnSeeds::ZEROS;
    bool isOutsideSeed = false;                   ///< the pixels just beyond the border are seeds too
    std::array<double, 3> weights{1.0, 1.0, 1.0}; ///< squares of the pixel lengths
    double factor = 1.0;                          ///< multiplies the squared distances
    bool isSquared = true;                        ///< squared distances, else distances
};

/// The smallest and the largest pixel of a map.
struct StDistanceRange {
    double minimum;
    double maximum;
};

/// Fills `distance`, an IMAGE_GREY_F or IMAGE_GREY_32, from a binary image of the same size; 0 everywhere if
/// there is no seed. The caller must have checked types and sizes. For integers, weights and factor are
/// rounded, and distances saturate at 0xFFFFFFFE. Returns no range if cancelled; the map is then 0.
std::optional<StDistanceRange> TransformDistances(const StDistanceTransform& transform, const IImage& binary,
                                                  IImage& distance, IProgress& progress);

/// Raises `CException`, in the name of `function`, unless `binary` is an IMAGE_BINARY_FG and `result` is of
/// `resultType`, both have the same size, and their extents can be transformed.
void CheckDistanceImages(const char* function, const IImage& binary, const IImage& result,
                         const IImage::CType& resultType);

/// Raises `CException`, in the name of `function`, for extents that cannot be transformed.
void CheckDistanceExtents(const char* function, const CSize& size);

} // namespace ORVEN
