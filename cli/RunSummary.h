#pragma once

#include "engine/run/StRunRecord.h"

#include <span>
#include <string>

namespace cli {

/// Summarises a run in a few lines for a human reader; `outputs` are the output files named on the command
/// line.
std::string RunSummary(const engine::StRunRecord& record, std::span<const std::string> outputs);

} // namespace cli
