#pragma once

#include "cli/CArgumentParser.h"
#include "engine/run/CChainRun.h"

#include <string>
#include <vector>

// What the commands that run chains have in common.

namespace cli {

struct StChainRunOptions {
    std::vector<std::string> packs;
    int threads = 0; ///< 0 means the default
    bool isQuiet = false;
    bool isVerbose = false;
};

/// Adds --threads, --pack, --quiet and --verbose.
void AddChainRunOptions(CCommand& command, StChainRunOptions& options);

/// Runs a chain that has been checked, with progress and a summary for each step. Raises `CCommandError` for
/// a step that does not end well, with the exit status of `quillon run`.
engine::StChainOutcome RunWithSummary(engine::CChainRun& run, const StChainRunOptions& options,
                                      engine::CPackSet& packs);

} // namespace cli
