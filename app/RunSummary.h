#pragma once

#include "Report.h"

#include <span>
#include <string>

namespace app {

/// What a run has done, in a few lines for a person; `outputs` are the files that were asked for.
std::string RunSummary(const StRunRecord& record, std::span<const std::string> outputs);

} // namespace app
