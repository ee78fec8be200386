#include "cli/CProgressBar.h"

#include "cli/CInterruptGuard.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace cli {

namespace {

constexpr std::chrono::milliseconds c_drawingInterval{100};
/// Limits the number of phases that a plug-in starts and never finishes.
constexpr std::size_t c_deepestNesting = 16;
constexpr std::size_t c_longestText = 40;

/// Makes the text fit on one line of a terminal: truncated if too long, and without control characters.
std::string ForTerminal(const char* text) {
    std::string line(text != nullptr ? text : "");
    std::replace_if(
        line.begin(), line.end(), [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 127; },
        ' ');
    if (line.size() <= c_longestText)
        return line;
    std::size_t end = c_longestText;
    while (end > 0 && (static_cast<unsigned char>(line[end]) & 0xC0) == 0x80) // inside a UTF-8 sequence
        --end;
    return line.substr(0, end);
}

std::string Duration(double seconds) {
    const long long whole = std::llround(seconds);
    std::array<char, 40> text{};
    if (whole < 3600)
        std::snprintf(text.data(), text.size(), "%lld:%02lld", whole / 60, whole % 60);
    else
        std::snprintf(text.data(), text.size(), "%lld:%02lld:%02lld", whole / 3600, whole / 60 % 60,
                      whole % 60);
    return text.data();
}

} // namespace

CProgressBar::CProgressBar(int descriptor, std::function<Clock::time_point()> now)
    : m_descriptor(descriptor)
    , m_now(std::move(now))
    , m_nextDrawing(m_now() + c_drawingInterval) {}

CProgressBar::CProgressBar(int descriptor, const std::string& prefix)
    : CProgressBar(descriptor) {
    m_prefix = ForTerminal(prefix.c_str());
}

CProgressBar::~CProgressBar() {
    if (m_isDrawn)
        Write(wipeLine);
}

void CProgressBar::Start(unsigned total, const char* text) {
    if (m_phases.size() == c_deepestNesting)
        m_phases.erase(m_phases.begin());
    m_phases.push_back({ForTerminal(text), total, 0, 0, m_now()});
    LookAtClock(m_phases.back());
}

void CProgressBar::SetText(const char* text) {
    if (!m_phases.empty())
        m_phases.back().text = ForTerminal(text);
}

void CProgressBar::Step(unsigned amount, int /*flag*/) {
    if (m_phases.empty())
        return;
    StPhase& phase = m_phases.back();
    phase.done += amount;
    if (phase.done >= phase.lookAgainAt)
        LookAtClock(phase);
}

void CProgressBar::SetPosition(unsigned position) {
    if (m_phases.empty())
        return;
    StPhase& phase = m_phases.back();
    if (position < phase.done)
        phase.lookAgainAt = 0;
    phase.done = position;
    if (phase.done >= phase.lookAgainAt)
        LookAtClock(phase);
}

void CProgressBar::Finish() {
    if (!m_phases.empty())
        m_phases.pop_back();
}

void CProgressBar::Cancel() { m_isCancelled = true; }

bool CProgressBar::IsCancelled() { return m_isCancelled || CInterruptGuard::IsRequested(); }

void CProgressBar::LookAtClock(StPhase& phase) {
    phase.lookAgainAt = phase.done + std::max<std::uint64_t>(1, phase.total / 1000);
    if (m_descriptor < 0)
        return;
    const Clock::time_point now = m_now();
    if (now < m_nextDrawing)
        return;
    m_nextDrawing = now + c_drawingInterval;
    Draw(phase, now);
}

void CProgressBar::Draw(const StPhase& phase, Clock::time_point now) {
    std::string line = wipeLine + m_prefix + phase.text;
    if (phase.total > 0) {
        const double share =
            static_cast<double>(std::min(phase.done, phase.total)) / static_cast<double>(phase.total);
        line += "  " + std::to_string(static_cast<int>(100 * share)) + " %";
        const double seconds = std::chrono::duration<double>(now - phase.start).count();
        // In the first moments an estimate would be too unstable.
        if (seconds >= 1 && share >= 0.01 && share < 1)
            line += "  " + Duration(seconds / share - seconds) + " left";
    }
    Write(line);
    m_isDrawn = true;
}

void CProgressBar::Write(const std::string& text) const {
    // A failed write to the terminal is no reason to end a run.
    [[maybe_unused]] const ssize_t written = write(m_descriptor, text.data(), text.size());
}

} // namespace cli
