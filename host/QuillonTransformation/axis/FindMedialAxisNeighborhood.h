#pragma once

#include "QuillonTransformation/axis/StMedialAxisGenerator.h"

#include <functional>

namespace ORVEN {

/// Finds the test neighbourhood of the medial axis up to a squared radius, from 0 to
/// `CSphereVectors::c_greatestReach`.
///
/// The medial axis of a ball consists of its centre only. So the balls are examined in ascending order of
/// size. If a pixel of a ball lies in none of the balls of the neighbours listed so far, its vector from the
/// centre is appended to the list. Within a ball the shortest such vector is taken, and among vectors of
/// equal length the first in the order of `CSphereVectors`.
///
/// `isCancelled`, if not empty, is called for each ball with its squared radius. Once it returns true, the
/// list is returned as far as it is complete.
///
/// Time grows with the fifth to sixth power of the radius: 0.01 s for radius 24, half a minute for 128.
/// Memory: 12 bytes per vector of the largest ball, and 4 bytes per squared radius and vector of the list.
///
/// E. Remy, E. Thiel, Exact medial axis with Euclidean distance, 2005.
[[nodiscard]] StMedialAxisNeighborhood
FindMedialAxisNeighborhood(std::int32_t reach,
                           const std::function<bool(std::int32_t squaredRadius)>& isCancelled = {});

} // namespace ORVEN
