#pragma once

#include "cli/ImageInput.h"

#include <optional>
#include <string>
#include <vector>

namespace cli {

/// The options of `quillon run` as given on the command line, not yet parsed or checked.
struct StRunOptions {
    std::string plugin;
    std::string image;
    std::vector<std::string> packs;      ///< empty: those installed with the program
    std::vector<std::string> parameters; ///< KEY=VALUE or KEY:KIND=VALUE
    std::optional<std::string> parametersFile;
    bool isBare = false;
    std::vector<std::string> settings;
    std::optional<std::string> pixelType;
    StInputOptions reading;
    std::optional<std::string> label;
    bool hasNoLabel = false;
    std::vector<std::string> outputs;
    std::optional<std::string> file;  ///< the answer to file dialogs
    std::vector<std::string> choices; ///< KEY=VALUE
    std::vector<std::string> answers; ///< OBJECTNAME=VALUE
    bool cancelsDialogs = false;
    bool showsWindows = false;
    bool runsRefused = false;
    bool isStrict = false;      ///< questionable parameters are errors
    bool isOverwriting = false; ///< inputs may be replaced
    bool isEstimate = false;    ///< prints the memory of the run in place of running
    bool isVerbose = false;
    std::optional<std::string> report;
    std::optional<std::string> packLog;
    bool isQuiet = false;
    int threads = 0; ///< 0 means the default
};

} // namespace cli
