#pragma once

#include "cli/ImageInput.h"
#include "engine/measurements/StTable.h"

#include <string>
#include <vector>

namespace cli {

/// What a command that shows a measurement is asked for.
struct StMeasurementRequest {
    std::string command; ///< "table" or "plot", for the next step in an error message
    std::vector<std::string> files;
    std::string measurement;        ///< empty if none was named
    std::vector<std::string> packs; ///< given by --pack
    StInputOptions reading;
};

/// The measurements that the catalogues of the packs describe.
std::vector<engine::StCatalogueMeasurement> DescriptionsIn(const std::vector<std::string>& packPaths);

/// Reads the measurement of each file as a table; without a name, the only one in it. Raises `CCommandError`,
/// with a list of what is in the file, if there is no such measurement or more than one.
std::vector<engine::StTable> ReadTables(const StMeasurementRequest& request);

/// Takes the name of a measurement off the end of the files: the last of several words is one unless it is
/// the name of a file.
void TakeMeasurement(StMeasurementRequest& request);

/// The extension of a file name in lower case, as in ".csv"; empty if there is none.
std::string LowerExtension(const std::string& path);

/// Lists the names as "'a', 'b'", at most ten of them and how many more there are.
std::string ListedNames(const std::vector<std::string>& names);

} // namespace cli
