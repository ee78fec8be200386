#pragma once

#include <stdexcept>
#include <string>

namespace CLI {
class App;
}

namespace app {

/// How the program ends, for scripts to act on.
enum EnExitStatus {
    STATUS_DONE = 0,
    STATUS_PLUGIN_RAISED = 1,
    STATUS_USAGE = 2,
    STATUS_IMAGE_REFUSED = 3,
    STATUS_FILE = 4,
    STATUS_CANCELLED = 130,
};

/// Ends a command: the message goes to standard error as one line, the status to the caller of the program.
class CCommandError : public std::runtime_error {
public:
    CCommandError(EnExitStatus status, const std::string& message)
        : std::runtime_error(message)
        , m_status(status) {}

    [[nodiscard]] EnExitStatus Status() const { return m_status; }

private:
    EnExitStatus m_status;
};

// Each adds its command to the program. The command runs as the callback of its subcommand and raises
// `CCommandError` to end with another status than done.
void AddListCommand(CLI::App& program);
void AddDescribeCommand(CLI::App& program);
void AddRunCommand(CLI::App& program);
void AddInfoCommand(CLI::App& program);
void AddConvertCommand(CLI::App& program);
void AddPreviewCommand(CLI::App& program);
void AddPlotCommand(CLI::App& program);

} // namespace app
