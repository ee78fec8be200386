#pragma once

#include <string>

namespace cli {

/// Makes Ctrl-C, SIGTERM and SIGHUP end the program at once with the exit status for "cancelled" and without
/// leaving a half-written file, except while a `CInterruptGuard` exists. SIGHUP stays ignored if the calling
/// process ignores it, as `nohup` does. Exceeding a file-size limit makes the write fail instead of ending
/// the program. Call this once at program start.
void HandleInterrupts();

/// While a guard exists, the first of these signals only sets a flag, so that the plug-in can stop cleanly; a
/// second one ends the program at once. Only one guard may exist at a time.
class CInterruptGuard {
public:
    /// At the first signal, `notice` is written to the file descriptor.
    explicit CInterruptGuard(std::string notice = {}, int descriptor = -1);
    CInterruptGuard(const CInterruptGuard&) = delete;
    CInterruptGuard& operator=(const CInterruptGuard&) = delete;
    ~CInterruptGuard();

    /// Whether one of the signals has arrived since this guard was created. Can be called from any thread.
    [[nodiscard]] static bool IsRequested();

private:
    const std::string m_notice;
};

} // namespace cli
