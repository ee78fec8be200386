#pragma once

namespace app {

/// Makes Ctrl-C end the program at once with the status for "cancelled", leaving no half-written file, except
/// while a `CInterruptGuard` lives. For the start of the program.
void HandleInterrupts();

/// While it lives, the first Ctrl-C is only noted, for a plug-in to end in peace; a second one ends the
/// program at once. One guard at a time.
class CInterruptGuard {
public:
    CInterruptGuard();
    CInterruptGuard(const CInterruptGuard&) = delete;
    CInterruptGuard& operator=(const CInterruptGuard&) = delete;
    ~CInterruptGuard();

    /// Whether Ctrl-C has been pressed under this guard. Any thread may ask.
    [[nodiscard]] static bool IsRequested();
};

} // namespace app
