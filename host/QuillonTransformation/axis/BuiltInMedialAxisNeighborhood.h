#pragma once

#include "QuillonTransformation/axis/StMedialAxisGenerator.h"

namespace ORVEN {

/// The test neighbourhood of the medial axis that is compiled in, up to balls of radius 128: what
/// `FindMedialAxisNeighborhood` finds, which takes too long to be done at need.
[[nodiscard]] const StMedialAxisNeighborhood& BuiltInMedialAxisNeighborhood();

} // namespace ORVEN
