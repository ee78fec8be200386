#pragma once

#include "cli/CArgumentParser.h"
#include "cli/CCommandError.h"

namespace cli {

// Each function adds one command to the program. The command runs inside `CArgumentParser::Run` and
// raises `CCommandError` to end with an exit status other than `STATUS_DONE`.
void AddListCommand(CArgumentParser& program);
void AddDescribeCommand(CArgumentParser& program);
void AddRunCommand(CArgumentParser& program);
void AddInfoCommand(CArgumentParser& program);
void AddConvertCommand(CArgumentParser& program);
void AddPreviewCommand(CArgumentParser& program);
void AddPlotCommand(CArgumentParser& program);
void AddTableCommand(CArgumentParser& program);
void AddChainCommand(CArgumentParser& program);
void AddRepeatCommand(CArgumentParser& program);
void AddValidateCommand(CArgumentParser& program);

} // namespace cli
