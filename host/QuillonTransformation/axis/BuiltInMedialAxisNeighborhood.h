#pragma once

#include "QuillonTransformation/axis/StMedialAxisGenerator.h"

namespace ORVEN {

/// The built-in test neighbourhood of the medial axis, for balls up to radius 128. It is the result of
/// `FindMedialAxisNeighborhood`, which takes too long to run on demand.
[[nodiscard]] const StMedialAxisNeighborhood& BuiltInMedialAxisNeighborhood();

} // namespace ORVEN
