#pragma once

#include "engine/run/StRunRecord.h"

#include <span>
#include <string>

namespace cli {

/// What a run has done, in a few lines for a person; `outputs` are the files that were asked for.
std::string RunSummary(const engine::StRunRecord& record, std::span<const std::string> outputs);

} // namespace cli
