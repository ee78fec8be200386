#pragma once

#include "validate/rules/CRuleRun.h"

#include <QuillonBase/CProgressProxy.h>

#include <atomic>
#include <cstdint>
#include <thread>

namespace validate {

/// The host's progress sink while it lives: counts calls, and cancels at a question.
class CWatchingSink : public ORVEN::IProgress {
public:
    static constexpr std::int64_t never = INT64_MAX;

    /// `cancelAt` is the question, from 0, from which on the answer is yes.
    explicit CWatchingSink(IRuleNotes& notes, std::int64_t cancelAt = never);
    CWatchingSink(const CWatchingSink&) = delete;
    CWatchingSink& operator=(const CWatchingSink&) = delete;
    ~CWatchingSink() override;

    void Start(unsigned total, const char* text) override;
    void SetText(const char* text) override;
    void Step(unsigned amount, int flag) override;
    void SetPosition(unsigned position) override;
    void Finish() override;
    void Cancel() override {}
    bool IsCancelled() override;

    [[nodiscard]] std::int64_t Questions() const { return m_questions; }
    [[nodiscard]] bool WasCancelled() const { return m_wasCancelled; }
    [[nodiscard]] std::int64_t CallsFromElsewhere() const { return m_callsFromElsewhere; }
    [[nodiscard]] std::int64_t Starts() const { return m_starts; }
    [[nodiscard]] std::int64_t Finishes() const { return m_finishes; }
    [[nodiscard]] std::int64_t StepsOutsideOfPhases() const { return m_stepsOutsideOfPhases; }
    [[nodiscard]] std::int64_t MissingTexts() const { return m_missingTexts; }

private:
    void NoteCall();

    IRuleNotes& m_notes;
    const std::int64_t m_cancelAt;
    ORVEN::IProgress* const m_before;
    const std::thread::id m_owner = std::this_thread::get_id();
    std::atomic<std::int64_t> m_questions{0};
    std::atomic<bool> m_wasCancelled{false};
    std::atomic<std::int64_t> m_callsFromElsewhere{0};
    std::atomic<std::int64_t> m_starts{0};
    std::atomic<std::int64_t> m_finishes{0};
    std::atomic<std::int64_t> m_stepsOutsideOfPhases{0};
    std::atomic<std::int64_t> m_missingTexts{0};
};

} // namespace validate
