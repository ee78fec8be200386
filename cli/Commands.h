#pragma once

#include "cli/CCommandError.h"

namespace CLI {
class App;
}

namespace cli {

// Each function adds one command to the program. The command runs as the callback of its subcommand and
// raises `CCommandError` to end with an exit status other than `STATUS_DONE`.
void AddListCommand(CLI::App& program);
void AddDescribeCommand(CLI::App& program);
void AddRunCommand(CLI::App& program);
void AddInfoCommand(CLI::App& program);
void AddConvertCommand(CLI::App& program);
void AddPreviewCommand(CLI::App& program);
void AddPlotCommand(CLI::App& program);

} // namespace cli
