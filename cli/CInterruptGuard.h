#pragma once

#include <string>

namespace cli {

/// Makes Ctrl-C, SIGTERM and SIGHUP end the program at once with the status for "cancelled", leaving no
/// half-written file, except while a `CInterruptGuard` lives. A SIGHUP that the caller of the program
/// ignores, as `nohup` does, stays ignored. A file-size limit makes writes fail instead of ending the
/// program. For the start of the program.
void HandleInterrupts();

/// While it lives, the first of these signals is only noted, for a plug-in to end in peace; a second one ends
/// the program at once. One guard at a time.
class CInterruptGuard {
public:
    /// At the first Ctrl-C, `notice` is written to the file descriptor.
    explicit CInterruptGuard(std::string notice = {}, int descriptor = -1);
    CInterruptGuard(const CInterruptGuard&) = delete;
    CInterruptGuard& operator=(const CInterruptGuard&) = delete;
    ~CInterruptGuard();

    /// Whether Ctrl-C has been pressed, or another of the signals has come, under this guard. Any thread may
    /// ask.
    [[nodiscard]] static bool IsRequested();

private:
    const std::string m_notice;
};

} // namespace cli
