#include "QuillonBase/CJobRecording.h"

#include <ctime>
#include <utility>

namespace ORVEN {

namespace {

thread_local CJobRecording* g_recordingHere = nullptr;

double ThreadSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

} // namespace

CJobRecording::CJobRecording()
    : m_before(std::exchange(g_recordingHere, this)) {}

CJobRecording::~CJobRecording() { g_recordingHere = m_before; }

CJobRecording* CJobRecording::Current() { return g_recordingHere; }

void CJobRecording::Begin() {
    m_isInJob = true;
    m_jobs.emplace_back();
}

void CJobRecording::MoveOn(bool hasItem) {
    const double now = ThreadSeconds();
    if (m_isInItem)
        m_jobs.back().push_back(now - m_itemBegin);
    m_isInItem = hasItem;
    m_itemBegin = now;
}

void CJobRecording::End() {
    m_isInJob = false;
    m_isInItem = false;
}

} // namespace ORVEN
