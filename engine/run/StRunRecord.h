#pragma once

#include "engine/dialogs/CBatchDialogs.h"
#include "engine/run/PluginCall.h"

#include <optional>
#include <string>
#include <vector>

namespace engine {

/// Everything known about a finished run, for the summary and for --report.
struct StRunRecord {
    std::string plugin;
    std::string image; ///< path of the input file
    StPluginOutcome outcome;
    std::vector<std::string> files; ///< where each document was written; empty if it was not
    std::string measuredFile; ///< where the input with its new attributes was written; empty if it was not
    bool hasMeasured = false; ///< whether the run changed the attributes of the input
    std::optional<StMessageBox> errorBox; ///< the first box that reports an error
    std::string pickedFile;               ///< the answer given to a file dialog
    bool hasShownWindows = false;         ///< to the user, who knows which file was picked
    bool isReported = false;              ///< whether a report is written
    std::vector<StMessageBox> boxes;
    std::string standardOutput; ///< of the pack
    std::string standardError;
    bool isCancelled = false;
    std::optional<std::string> dialogProblem;
    bool isFileUnused = false;              ///< a file was given for a file dialog, but none opened
    std::vector<std::string> unusedAnswers; ///< object names that occurred in no dialog
};

/// The record of the run as JSON, for scripts.
std::string ReportText(const StRunRecord& record);

} // namespace engine
