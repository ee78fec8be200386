#pragma once

namespace ORVEN {

/// The pixel spacing of the measured image, in metres or the unit of the image. A component that is not
/// finite or not positive counts as 1.
struct StFieldFeaturesParameter {
    double spacingX = 1.0;
    double spacingY = 1.0;
    double spacingZ = 1.0;
};

} // namespace ORVEN
