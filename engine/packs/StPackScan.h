#pragma once

#include "engine/errors/CEngineError.h"

#include <string>
#include <vector>

namespace engine {

/// What loading a pack in a process of its own has shown.
struct StPackScan {
    /// The plug-ins, of those asked for, that the pack creates.
    std::vector<std::string> provided;
    /// Why the pack cannot be used, as one sentence that names it; empty if it can.
    std::string problem;
    EnFault fault = EnFault::FILE; ///< of the problem

    [[nodiscard]] bool IsUsable() const { return problem.empty(); }
};

/// Loads a pack, creates each of the plug-ins and destroys them again, in a child process that is ended after
/// five seconds. A pack that crashes, hangs, or writes to the standard streams therefore does no harm. Takes
/// as long as loading the pack does, some milliseconds.
StPackScan ScanPack(const std::string& path, const std::vector<std::string>& plugins);

} // namespace engine
