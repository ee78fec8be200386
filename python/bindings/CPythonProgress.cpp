#include "python/bindings/CPythonProgress.h"

#include <algorithm>

namespace quillon_python {

namespace py = pybind11;

namespace {

constexpr std::chrono::milliseconds c_interval{50};
/// Limits the number of phases that a plug-in starts and never finishes.
constexpr std::size_t c_deepestNesting = 16;

/// Calls `work` with the interpreter lock. An exception cancels the run; the first one is kept.
template <class Work>
void CallPython(StPythonSide& side, const Work& work) {
    const py::gil_scoped_acquire lock;
    try {
        work();
    } catch (const py::error_already_set& error) {
        if (!side.error)
            side.error = error;
        side.isCancelled = true;
    }
}

} // namespace

void HandleSignals(StPythonSide& side) {
    CallPython(side, [] {
        if (PyErr_CheckSignals() != 0)
            throw py::error_already_set();
    });
}

CPythonProgress::CPythonProgress(StPythonSide& side)
    : m_side(side)
    , m_nextQuestion(Clock::now() + c_interval) {}

void CPythonProgress::Start(unsigned total, const char* text) {
    if (m_phases.size() == c_deepestNesting)
        m_phases.erase(m_phases.begin());
    m_phases.push_back({text != nullptr ? text : "", total, 0});
}

void CPythonProgress::SetText(const char* text) {
    if (!m_phases.empty())
        m_phases.back().text = text != nullptr ? text : "";
}

void CPythonProgress::Step(unsigned amount, int /*flag*/) {
    if (!m_phases.empty())
        m_phases.back().done += amount;
}

void CPythonProgress::SetPosition(unsigned position) {
    if (!m_phases.empty())
        m_phases.back().done = position;
}

void CPythonProgress::Finish() {
    if (!m_phases.empty())
        m_phases.pop_back();
}

bool CPythonProgress::IsCancelled() {
    if (!m_side.isCancelled && Clock::now() >= m_nextQuestion) {
        HandleSignals(m_side);
        Report();
        m_nextQuestion = Clock::now() + c_interval;
    }
    return m_side.isCancelled;
}

void CPythonProgress::Report() {
    if (m_side.isCancelled || m_phases.empty() || m_phases.back().total == 0)
        return;
    const StPhase& phase = m_phases.back();
    const double done =
        static_cast<double>(std::min(phase.done, phase.total)) / static_cast<double>(phase.total);
    CallPython(m_side, [&] {
        if (!m_side.callback.is_none())
            m_side.callback(done, py::bytes(phase.text).attr("decode")("utf-8", "replace"));
    });
}

} // namespace quillon_python
