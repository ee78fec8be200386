#pragma once

#include <functional>

namespace quillon_python {

/// The thread on which all runs with dialogs take place, one after the other. Qt remembers the thread of the
/// first application of a process, and dialogs on another one would wait forever.
class CDialogThread {
public:
    /// Runs `work` there and waits; meanwhile calls `wait` twenty times a second on this thread. Raises what
    /// `work` raises, and `CCallerError` in a process that was forked after such a run: the thread does not
    /// exist in it. If the process has an application of its own, `work` runs on the calling thread, which
    /// has to be that of the application. Call it without the interpreter lock.
    static void Run(const std::function<void()>& work, const std::function<void()>& wait);
};

} // namespace quillon_python
