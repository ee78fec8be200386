#pragma once

#include "engine/dialogs/CBatchDialogs.h"
#include "engine/run/PluginCall.h"

#include <optional>
#include <string>
#include <vector>

namespace engine {

/// All that is known of a run in the end, for the summary and for --report.
struct StRunRecord {
    std::string plugin;
    std::string image; ///< the file
    StPluginOutcome outcome;
    std::vector<std::string> files; ///< where each document was written; empty for one that was not
    std::string measuredFile; ///< where the input was written with its new attributes; empty if it was not
    bool hasMeasured = false; ///< whether the input has other attributes than before
    std::optional<StMessageBox> errorBox; ///< the first one that says that something went wrong
    std::string pickedFile;               ///< what a file dialog was answered with
    bool showedWindows = false;           ///< to a person, who knows what was picked there
    bool isReported = false;              ///< whether the report goes to a file
    std::vector<StMessageBox> boxes;
    std::string standardOutput; ///< of the pack
    std::string standardError;
    bool isCancelled = false;
    std::optional<std::string> dialogProblem;
    bool isFileUnused = false;              ///< a file was given for a file dialog, and none opened
    std::vector<std::string> unusedAnswers; ///< object names that no dialog had
};

/// The run as JSON for scripts.
std::string ReportText(const StRunRecord& record);

} // namespace engine
