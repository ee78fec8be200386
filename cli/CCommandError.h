#pragma once

#include "engine/errors/CEngineError.h"

#include <stdexcept>
#include <string>

namespace cli {

/// How the program ends, for scripts to act on.
enum EnExitStatus {
    STATUS_DONE = 0,
    STATUS_PLUGIN_RAISED = 1,
    STATUS_USAGE = 2,
    STATUS_IMAGE_REFUSED = 3,
    STATUS_FILE = 4,
    STATUS_CANCELLED = 130,
};

/// The one mapping from an engine's error to an exit status.
constexpr EnExitStatus ExitStatusOf(engine::EnFault fault) {
    switch (fault) {
    case engine::EnFault::CALLER:
        return STATUS_USAGE;
    case engine::EnFault::FILE:
        return STATUS_FILE;
    case engine::EnFault::PLUGIN:
    case engine::EnFault::MACHINE:
        break;
    }
    return STATUS_PLUGIN_RAISED;
}

/// Ends a command: the message goes to standard error as one line, the status to the caller of the program.
class CCommandError : public std::runtime_error {
public:
    CCommandError(EnExitStatus status, const std::string& message)
        : std::runtime_error(message)
        , m_status(status) {}
    /// An error of the engine as the end of a command.
    explicit CCommandError(const engine::CEngineError& error)
        : CCommandError(ExitStatusOf(error.Fault()), error.what()) {}

    [[nodiscard]] EnExitStatus Status() const { return m_status; }

private:
    EnExitStatus m_status;
};

} // namespace cli
