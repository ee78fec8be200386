#pragma once

#include "QuillonMeasurement/StFieldFeaturesParameter.h"

#include <sorblib2core/CValueMap.h>

namespace ORVEN {

/// Densities of a homogeneous structure: its four intrinsic volumes per volume, and what follows from them.
/// Lengths are in the unit of the spacing, which the names of the map call m.
struct StFieldFeaturesData3d {
    /// Pixels that are one unit apart.
    static StFieldFeaturesParameter StandardParameter() { return {}; }

    /// All features 0. What was measured, and at which spacing, is a matter of `CFieldFeatures::Calculate`.
    explicit StFieldFeaturesData3d(const StFieldFeaturesParameter&) {}

    /// The features by name, all `CValueDouble`.
    explicit operator CValueMap() const;

    double volumeDensity = 0.0;
    double surfaceDensity = 0.0;
    double meanCurvatureDensity = 0.0;  ///< of the integral of mean curvature
    double totalCurvatureDensity = 0.0; ///< of the integral of total curvature
    double eulerNumberDensity = 0.0;
    double meanChordLength = 0.0;     ///< 0 without surface
    double structureModelIndex = 0.0; ///< 0 for plates, 3 for rods, 4 for balls; 0 without surface
    double blockCount = 0.0;
};

} // namespace ORVEN
