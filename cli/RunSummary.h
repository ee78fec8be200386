#pragma once

#include "engine/run/StRunRecord.h"

#include <span>
#include <string>

namespace cli {

/// What a run has made and shown, without where to go from there. `unwritten` follows a result that was not
/// written to a file.
std::string StepSummary(const engine::StRunRecord& record, const std::string& unwritten = "");

/// The line about an output that was named, but not written because the run had only so many results.
std::string NothingWrittenTo(const std::string& output, std::size_t results);

/// Summarises a run in a few lines for a human reader; `outputs` are the output files named on the command
/// line.
std::string RunSummary(const engine::StRunRecord& record, std::span<const std::string> outputs);

} // namespace cli
