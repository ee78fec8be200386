#pragma once

#include <QuillonBase/ISummingProgress.h>
#include <pybind11/pybind11.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace quillon_python {

/// What a run learns from Python while it runs. It outlives the sink, and is made and destroyed with the
/// interpreter lock held.
struct StPythonSide {
    pybind11::object callback; ///< takes the fraction done of a stage, and its text; None if there is none
    std::optional<pybind11::error_already_set> error = {}; ///< raised by the callback or a signal handler
    std::atomic<bool> isCancelled = false;
};

/// Has pending signals handled, which is possible on Python's main thread only. An exception cancels the run.
/// Takes the interpreter lock.
void HandleSignals(StPythonSide& side);

/// The progress of a run, shown by a Python callable, and its cancellation. Twenty times a second it takes
/// the interpreter lock, has pending signals handled, which is possible on Python's main thread only, and
/// calls the callable. The run is cancelled if either raises an exception.
class CPythonProgress : public ORVEN::ISummingProgress {
public:
    explicit CPythonProgress(StPythonSide& side);

    void Start(unsigned total, const char* text) override;
    void SetText(const char* text) override;
    void Step(unsigned amount, int flag) override;
    void SetPosition(unsigned position) override;
    void Finish() override;
    void Cancel() override { m_side.isCancelled = true; }
    bool IsCancelled() override;

private:
    using Clock = std::chrono::steady_clock;
    struct StPhase {
        std::string text;
        std::uint64_t total;
        std::uint64_t done;
    };

    void Report();

    StPythonSide& m_side;
    std::vector<StPhase> m_phases;
    Clock::time_point m_nextQuestion;
};

} // namespace quillon_python
