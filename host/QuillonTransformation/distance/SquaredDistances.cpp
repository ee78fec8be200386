#include "QuillonTransformation/distance/SquaredDistances.h"

#include "QuillonTransformation/distance/DistanceTransform.h"

namespace ORVEN {

std::int32_t SquaredDistancesToBackground(const IImage& binary, IImage& squared, IProgress& progress) {
    CheckDistanceImages("ORVEN::SquaredDistancesToBackground", binary, squared, IMAGE_GREY_32);
    StDistanceTransform transform;
    transform.isOutsideSeed = true;
    const auto range = TransformDistances(transform, binary, squared, progress);
    return range ? static_cast<std::int32_t>(range->maximum) : 0;
}

} // namespace ORVEN
