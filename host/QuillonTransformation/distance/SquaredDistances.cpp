#include "QuillonTransformation/distance/SquaredDistances.h"

#include "QuillonTransformation/distance/DistanceTransform.h"

namespace ORVEN {

void SquaredDistancesToBackground(const IImage& binary, IImage& squared, IProgress& progress) {
    CheckDistanceImages("ORVEN::SquaredDistancesToBackground", binary, squared, IMAGE_GREY_32);
    StDistanceTransform transform;
    transform.isOutsideSeed = true;
    TransformDistances(transform, binary, squared, progress);
}

} // namespace ORVEN
