#pragma once

#include "engine/measurements/StMeasurement.h"
#include "engine/measurements/StStatistics.h"
#include "engine/measurements/StUnit.h"

#include <optional>
#include <string>
#include <vector>

namespace engine {

struct StTableColumn {
    std::string key; ///< the path in the entry of a row
    std::string title;
    StUnit unit;
    bool hasStatistics = false; ///< mean and quantiles over the rows mean something
};

/// One row. Numbers that an entry lacks are NaN.
struct StTableRow {
    std::string name;             ///< the key of its entry
    std::optional<double> number; ///< that the key consists of or ends with: 17 for "grayvalue 017"
    std::vector<double> values;   ///< one for each column
};

/// A fact about the whole measurement.
struct StTableFact {
    std::string name;
    CJson value;
};

/// Statistics of one column, or of the row numbers of a distribution.
struct StColumnStatistics {
    std::string title;
    StUnit unit;
    std::string weightedBy; ///< what was counted; empty if each row counts once
    StStatistics statistics;
};

/// A measurement with one row for each size, grey value or object.
struct StTable {
    std::string name;  ///< of the measurement
    std::string title; ///< for people
    std::string lengthUnit;
    EnMeasurementKind kind = MEASUREMENT_CURVE;
    std::string counted; ///< of a distribution: what the first column counts; of objects: what they are
    StTableColumn row;   ///< what identifies a row
    bool hasRowNumbers = false;
    std::vector<StTableColumn> columns;
    std::vector<StTableRow> rows; ///< in numeric order
    std::vector<StTableFact> facts;
};

/// The table of a measurement of this image. Titles and units come from the description, if there is one, and
/// from the keys otherwise. Raises `CCallerError` if there are no numbers in the measurement.
///
/// For counted pixels, the facts contain their fraction of the image, unless an entry of the measurement
/// limits what was counted. Time and memory are linear in the number of values, times the logarithm of the
/// number of rows.
StTable TableOf(const StMeasurement& measurement, const ORVEN::CImage& image);

/// The statistics that mean something for this kind of measurement.
std::vector<StColumnStatistics> StatisticsOf(const StTable& table);

} // namespace engine
