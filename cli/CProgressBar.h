#pragma once

#include <QuillonBase/ISummingProgress.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace cli {

/// A progress line on the terminal that shows the current phase, the share done and the estimated time left.
/// Algorithms also ask it whether the user has pressed Ctrl-C.
///
/// A step costs one addition and one comparison, because some traversals step once per pixel: the clock is
/// read only once per thousandth of a phase, and the line is drawn at most ten times per second. The
/// innermost phase is shown.
class CProgressBar : public ORVEN::ISummingProgress {
public:
    using Clock = std::chrono::steady_clock;

    /// Control sequence that erases the line from a terminal.
    static constexpr const char* wipeLine = "\r\033[K";

    /// Draws to the file descriptor; with -1, draws nothing. Tests can replace the clock.
    explicit CProgressBar(int descriptor, std::function<Clock::time_point()> now = Clock::now);
    /// The same with a text before that of each phase.
    CProgressBar(int descriptor, const std::string& prefix);
    CProgressBar(const CProgressBar&) = delete;
    CProgressBar& operator=(const CProgressBar&) = delete;
    /// Erases the line.
    ~CProgressBar() override;

    void Start(unsigned total, const char* text) override;
    void SetText(const char* text) override;
    void Step(unsigned amount, int flag) override;
    void SetPosition(unsigned position) override;
    void Finish() override;
    void Cancel() override;
    bool IsCancelled() override;

private:
    struct StPhase {
        std::string text;
        std::uint64_t total;
        std::uint64_t done;
        std::uint64_t lookAgainAt; // number of steps at which the clock is read again
        Clock::time_point start;
    };

    void LookAtClock(StPhase& phase);
    void Draw(const StPhase& phase, Clock::time_point now);
    void Write(const std::string& text) const;

    int m_descriptor;
    std::function<Clock::time_point()> m_now;
    std::string m_prefix;
    std::vector<StPhase> m_phases; // innermost last
    Clock::time_point m_nextDrawing;
    bool m_isDrawn = false;
    std::atomic<bool> m_isCancelled{false};
};

} // namespace cli
