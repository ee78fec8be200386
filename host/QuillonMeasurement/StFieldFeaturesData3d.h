#pragma once

#include "QuillonMeasurement/StFieldFeaturesParameter.h"

#include <sorblib2core/CValueMap.h>

namespace ORVEN {

/// Densities of a homogeneous structure: its four intrinsic volumes per unit volume, and quantities derived
/// from them. Lengths are in the unit of the spacing, which the keys of the map call m.
struct StFieldFeaturesData3d {
    /// The parameters for a spacing of 1 along each axis.
    static StFieldFeaturesParameter StandardParameter() { return {}; }

    /// Initializes all features to 0. The argument is not used: `CFieldFeatures::Calculate` takes the spacing
    /// itself.
    explicit StFieldFeaturesData3d(const StFieldFeaturesParameter&) {}

    /// The features by name, all as `CValueDouble`.
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
