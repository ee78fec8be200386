#pragma once

#include <optional>
#include <string>
#include <vector>

namespace cli {

/// What the command line of `quillon run` says, as it stands there.
struct StRunOptions {
    std::string plugin;
    std::string image;
    std::optional<std::string> pack;
    std::vector<std::string> parameters; ///< KEY=VALUE or KEY:KIND=VALUE
    std::optional<std::string> parametersFile;
    bool isBare = false;
    std::vector<std::string> settings;
    std::optional<std::string> pixelType;
    std::optional<std::string> spacing;
    std::optional<std::string> label;
    bool hasNoLabel = false;
    std::vector<std::string> outputs;
    std::optional<std::string> file;  ///< for file dialogs
    std::vector<std::string> choices; ///< KEY=VALUE
    std::vector<std::string> answers; ///< OBJECTNAME=VALUE
    bool cancelsDialogs = false;
    bool showsWindows = false;
    bool runsRefused = false;
    std::optional<std::string> report;
    std::optional<std::string> packLog;
    bool isQuiet = false;
    int threads = 0; ///< 0: the default
};

} // namespace cli
