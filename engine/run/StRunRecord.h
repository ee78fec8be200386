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
    std::string measuredFile;   ///< where the input with its new attributes was written; empty if it was not
    bool hasMeasured = false;   ///< whether the run changed the attributes of the input
    bool isMeasurement = false; ///< whether the input with its new attributes is the result
    bool isForced = false;      ///< whether the plug-in ran even if it refused the image
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

/// How a run ended.
enum EnRunEnd {
    RUN_DONE,
    RUN_CANCELLED,
    RUN_DIALOG_PROBLEM, ///< a dialog could not be answered
    RUN_FAILED,         ///< the plug-in raised an error
    RUN_REFUSED,        ///< the plug-in does not take the image
    RUN_ERROR_BOX,      ///< the plug-in showed a box that reports an error
    RUN_UNUSED_ANSWER   ///< no dialog had an input of that name
};
EnRunEnd EndOf(const StRunRecord& record);

/// Whether the run has results to keep: after a box or an unused answer, too.
bool HasResults(const StRunRecord& record);

/// The record of the run as JSON, for scripts.
std::string ReportText(const StRunRecord& record);

} // namespace engine
