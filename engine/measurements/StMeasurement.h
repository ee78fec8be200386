#pragma once

#include "engine/catalogue/StCatalogueEntry.h"

#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CImage.h>

#include <optional>
#include <string>
#include <vector>

namespace engine {

/// A measurement found in the attributes of an image. Valid as long as the image and the descriptions.
struct StMeasurement {
    std::string name;                                    ///< as `FindMeasurement` takes it
    const ORVEN::CValueMap* values = nullptr;            ///< what the plug-in stored
    const StCatalogueMeasurement* description = nullptr; ///< null if no catalogue describes it
};

/// The measurements that these entries of catalogues describe.
std::vector<StCatalogueMeasurement> DescriptionsOf(const std::vector<const StCatalogueEntry*>& entries);

/// The names of the measurements in an image, sorted. An entry of "features" that contains several described
/// ones counts as these.
std::vector<std::string> MeasurementNames(const ORVEN::CImage& image,
                                          const std::vector<StCatalogueMeasurement>& descriptions);

/// Finds a measurement by its name. It can also be the last step of a name if only one name ends with it, or
/// the path of any map in the attributes. Nothing if there is none.
std::optional<StMeasurement> FindMeasurement(const ORVEN::CImage& image, const std::string& name,
                                             const std::vector<StCatalogueMeasurement>& descriptions);

} // namespace engine
