#include "QuillonBase/CProgressProxy.h"

#include <utility>

namespace ORVEN {

namespace {

thread_local IProgress* g_hostSink = nullptr;

} // namespace

CProgressProxy::CProgressProxy(IProgress* target, std::string caption)
    : m_target(target)
    , m_caption(std::move(caption)) {}

void CProgressProxy::Start(unsigned total, const char* text) {
    if (m_target != nullptr)
        m_target->Start(total, m_caption.empty() ? text : m_caption.c_str());
}

void CProgressProxy::SetText(const char* text) {
    if (m_target != nullptr && m_caption.empty())
        m_target->SetText(text);
}

void CProgressProxy::Step(unsigned amount, int flag) {
    if (m_target != nullptr)
        m_target->Step(amount, flag);
}

void CProgressProxy::SetPosition(unsigned position) {
    if (m_target != nullptr)
        m_target->SetPosition(position);
}

void CProgressProxy::Finish() {
    if (m_target != nullptr)
        m_target->Finish();
}

void CProgressProxy::Cancel() {
    if (m_target != nullptr)
        m_target->Cancel();
}

bool CProgressProxy::IsCancelled() { return m_target != nullptr && m_target->IsCancelled(); }

IProgress* CProgressProxy::SetHostSink(IProgress* sink) { return std::exchange(g_hostSink, sink); }

IProgress* CProgressProxy::HostSink() { return g_hostSink; }

} // namespace ORVEN
