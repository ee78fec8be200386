#pragma once

#include "engine/errors/CEngineError.h"

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace cli {

/// Exit status of the program, for scripts to act on.
enum EnExitStatus {
    STATUS_DONE = 0,
    STATUS_PLUGIN_RAISED = 1,
    STATUS_USAGE = 2,
    STATUS_IMAGE_REFUSED = 3,
    STATUS_FILE = 4,
    STATUS_CANCELLED = 130,
};

/// The exit status for an engine error; nothing else maps one to the other.
constexpr EnExitStatus ExitStatusOf(engine::EnFault fault) {
    switch (fault) {
    case engine::EnFault::CALLER:
        return STATUS_USAGE;
    case engine::EnFault::FILE:
    case engine::EnFault::MACHINE: // ran out while a file was read, written or loaded
        return STATUS_FILE;
    case engine::EnFault::PLUGIN:
        break;
    }
    return STATUS_PLUGIN_RAISED;
}

/// Ends a command. The message is printed on standard error as one line, further lines below it, and the
/// status becomes the exit status of the program.
class CCommandError : public std::runtime_error {
public:
    CCommandError(EnExitStatus status, const std::string& message, std::vector<std::string> furtherLines = {})
        : std::runtime_error(message)
        , m_status(status)
        , m_furtherLines(std::move(furtherLines)) {}
    /// Ends a command with the message and exit status of an engine error.
    explicit CCommandError(const engine::CEngineError& error)
        : CCommandError(ExitStatusOf(error.Fault()), error.what()) {}

    [[nodiscard]] EnExitStatus Status() const { return m_status; }
    /// Lines of their own, such as the next step.
    [[nodiscard]] const std::vector<std::string>& FurtherLines() const { return m_furtherLines; }

private:
    EnExitStatus m_status;
    std::vector<std::string> m_furtherLines;
};

} // namespace cli
