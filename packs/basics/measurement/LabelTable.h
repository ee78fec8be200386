#pragma once

#include "pixels/Geometry.h"

#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CImage.h>

#include <string>
#include <vector>

/// The form in which LabelMeasurements stores its results and LabelMeasurementsExport finds them.
namespace quillon::basics {

/// The path of the measurement among the attributes of an image: a map with an entry "object NUMBER" for each
/// label, as `IsObjectBasedFeaturesMap` expects them.
[[nodiscard]] std::string LabelMeasurementsPath();

/// One number of an object.
struct StColumn {
    std::string path;  ///< in the entry of the object, as in "centroid/x"
    std::string title; ///< of the column in a table, without the unit
    int lengthPower;   ///< the power of the unit of length; 0 for a number without unit, -1 for pixels
};

/// All numbers of an object in the order of a table. A 2-d object has an area and a perimeter, a 1-d object a
/// length.
[[nodiscard]] std::vector<StColumn> ColumnsOf(int dimension, bool hasGreyValues);

/// The title with the unit, as in "volume [mm^3]". The unit of length is the text at "unit" among the
/// attributes of the image; without it, "unit" for an image with a spacing and "px" for one without.
[[nodiscard]] std::string TitleWithUnit(const StColumn& column, const ORVEN::CImage& image);

} // namespace quillon::basics
