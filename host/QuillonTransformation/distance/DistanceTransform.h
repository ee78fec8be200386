#pragma once

#include "QuillonTransformation/distance/EnSeeds.h"

#include <QuillonBase/IProgress.h>
#include <sorblib2image/IImage.h>

#include <array>
#include <cstdint>
#include <optional>

namespace ORVEN {

/// Extents from here on are refused: squares of longer distances do not fit 32 bits.
inline constexpr std::int64_t c_tooLargeExtent = 65535;

/// What a distance transform of a whole image computes.
struct StDistanceTransform {
    EnSeeds seeds = EnSeeds::Zeros;
    bool outsideIsSeed = false;                   ///< the pixels just beyond the border are seeds too
    std::array<double, 3> weights{1.0, 1.0, 1.0}; ///< squares of the pixel lengths
    double factor = 1.0;                          ///< of the squared distances
    bool isSquared = true;                        ///< squared distances, else distances
};

/// The least and the greatest pixel of a map.
struct StDistanceRange {
    float minimum;
    float maximum;
};

/// Fills `distance`, an IMAGE_GREY_F or IMAGE_GREY_32, from a binary image of the same size; 0 everywhere if
/// there is no seed at all. The caller has made sure of types and sizes. Integers take weights and factor
/// rounded, and saturate at 0xFFFFFFFE. Empty if cancelled: the map is 0 then.
std::optional<StDistanceRange> TransformDistances(const StDistanceTransform& transform, const IImage& binary,
                                                  IImage& distance, IProgress& progress);

/// Raises `CException`, in the name of `function`, unless `binary` is an IMAGE_BINARY_FG and `result` of
/// `resultType`, both of one size and with extents that can be transformed.
void CheckDistanceImages(const char* function, const IImage& binary, const IImage& result,
                         const IImage::CType& resultType);

/// Raises `CException`, in the name of `function`, for extents that cannot be transformed.
void CheckDistanceExtents(const char* function, const CSize& size);

} // namespace ORVEN
