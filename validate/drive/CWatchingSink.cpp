#include "validate/drive/CWatchingSink.h"

namespace validate {

CWatchingSink::CWatchingSink(IRuleNotes& notes, std::int64_t cancelAt)
    : m_notes(notes)
    , m_cancelAt(cancelAt)
    , m_before(ORVEN::CProgressProxy::SetHostSink(this)) {}

CWatchingSink::~CWatchingSink() {
    ORVEN::CProgressProxy::SetHostSink(m_before);
    if (m_wasCancelled)
        m_notes.Returned();
}

void CWatchingSink::NoteCall() {
    if (std::this_thread::get_id() != m_owner)
        ++m_callsFromElsewhere;
}

void CWatchingSink::Start(unsigned /*total*/, const char* text) {
    NoteCall();
    ++m_starts;
    m_missingTexts += text == nullptr ? 1 : 0;
}

void CWatchingSink::SetText(const char* text) {
    NoteCall();
    m_missingTexts += text == nullptr ? 1 : 0;
}

void CWatchingSink::Step(unsigned /*amount*/, int /*flag*/) {
    NoteCall();
    m_stepsOutsideOfPhases += m_starts <= m_finishes ? 1 : 0;
}

void CWatchingSink::SetPosition(unsigned /*position*/) { NoteCall(); }

void CWatchingSink::Finish() {
    NoteCall();
    ++m_finishes;
}

bool CWatchingSink::IsCancelled() {
    NoteCall();
    if (m_questions++ < m_cancelAt)
        return false;
    if (!m_wasCancelled.exchange(true))
        m_notes.Cancelled();
    return true;
}

} // namespace validate
