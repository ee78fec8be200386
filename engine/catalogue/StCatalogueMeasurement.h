#pragma once

#include "engine/files/CJson.h"

#include <string>
#include <utility>
#include <vector>

namespace engine {

/// One number of a row of a measurement.
struct StCatalogueColumn {
    std::string key; ///< its path in the entry of the row
    std::string title;
    /// The unit: "length", "length^3", "length^-1" for a power of the unit of the spacing, "pixels",
    /// "angle" for radians, or any other text as it is; empty if there is none.
    std::string unit;
    bool hasStatistics = true; ///< mean and quantiles over the rows mean something
};

enum EnMeasurementKind {
    MEASUREMENT_DISTRIBUTION, ///< a count for each size; the rows are numbers
    MEASUREMENT_CURVE,        ///< features as functions of what the rows are ordered by
    MEASUREMENT_OBJECTS,      ///< features of objects; a histogram shows how they differ
    MEASUREMENT_SINGLE,       ///< one set of features, without rows
};

/// A measurement that a plug-in stores below "features" in the attributes of an image.
struct StCatalogueMeasurement {
    std::string key; ///< its path below "features"
    std::string title;
    EnMeasurementKind kind = MEASUREMENT_CURVE;
    std::string rows;      ///< the path from there to the map of rows; empty if its entries are the rows
    StCatalogueColumn row; ///< title and unit of what identifies a row, such as a diameter
    std::string counted;   ///< what a distribution counts, or what the objects are: "pixels"
    /// Flags among the entries of the measurement, each with what a distribution counts if it is set.
    std::vector<std::pair<std::string, std::string>> countedIf;
    std::vector<StCatalogueColumn> columns; ///< in the order of a table
    std::string pixels; ///< the key of the column that counts the pixels of a row; empty if none does
    /// Entries of the measurement that, if there, mean that not all pixels of the structure were counted.
    std::vector<std::string> limitedBy;
};

/// Parses the member "measurements" of an entry, as strictly as the rest of the entry. `place` names it in
/// errors, which are `std::runtime_error`.
std::vector<StCatalogueMeasurement> ParseCatalogueMeasurements(const CJson& list, const std::string& place);

} // namespace engine
