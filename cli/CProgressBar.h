#pragma once

#include <QuillonBase/IProgress.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace cli {

/// A line on the terminal that says what is done, how much of it, and how long it will still take; and the
/// place where algorithms learn that the user has pressed Ctrl-C.
///
/// A step costs an addition and a comparison, since some traversals step once a pixel: the clock is asked
/// once every thousandth of a phase, and the line is drawn at most ten times a second. The innermost phase is
/// shown.
class CProgressBar : public ORVEN::IProgress {
public:
    using Clock = std::chrono::steady_clock;

    /// What takes the line off a terminal.
    static constexpr const char* wipeLine = "\r\033[K";

    /// Draws on the file descriptor; -1 draws nothing. The clock is for tests.
    explicit CProgressBar(int descriptor, std::function<Clock::time_point()> now = Clock::now);
    CProgressBar(const CProgressBar&) = delete;
    CProgressBar& operator=(const CProgressBar&) = delete;
    /// Wipes the line.
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
        std::uint64_t lookAgainAt; // steps done before the clock is asked again
        Clock::time_point start;
    };

    void LookAtClock(StPhase& phase);
    void Draw(const StPhase& phase, Clock::time_point now);
    void Write(const std::string& text) const;

    int m_descriptor;
    std::function<Clock::time_point()> m_now;
    std::vector<StPhase> m_phases; // innermost last
    Clock::time_point m_nextDrawing;
    bool m_isDrawn = false;
    std::atomic<bool> m_isCancelled{false};
};

} // namespace cli
