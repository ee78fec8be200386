#pragma once

#include "engine/measurements/StTable.h"
#include "engine/pictures/StChart.h"

#include <optional>
#include <string>
#include <vector>

namespace engine {

struct StChartOptions {
    std::string feature;            ///< key or title of a column; may be empty if there is one column
    std::optional<double> binWidth; ///< of a histogram, in the unit of its axis
    bool isCumulative = false;      ///< the share of everything up to a value instead of a histogram
};

/// A measurement with what the legend calls it.
struct StLabelledTable {
    StTable table;
    std::string label;
};

/// The chart of the same measurement in one or more files. A distribution, and a feature of objects, is shown
/// as a histogram or cumulative curve, any other measurement as a curve over the rows. Without a width, a
/// histogram has bins of a round width that follows from the data. Raises `CCallerError` if the options do
/// not fit the measurement or the files do not fit together.
///
/// Source of the width: D. Freedman, P. Diaconis, On the histogram as a density estimator: L2 theory, 1981.
StChart ChartOf(const std::vector<StLabelledTable>& tables, const StChartOptions& options);

} // namespace engine
