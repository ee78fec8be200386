#pragma once

namespace ORVEN {

/// How far apart the pixels of a measured image stand, in metres or whatever the image counts in. A component
/// that is not finite or not above 0 counts as 1.
struct StFieldFeaturesParameter {
    double spacingX = 1.0;
    double spacingY = 1.0;
    double spacingZ = 1.0;
};

} // namespace ORVEN
