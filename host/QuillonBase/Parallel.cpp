#include "QuillonBase/Parallel.h"

#include "QuillonBase/CJobRecording.h"
#include "QuillonBase/CThreadLimit.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace ORVEN {

// Plain threads rather than OpenMP: they propagate exceptions, a thread sanitizer understands them, and they
// do not add a second thread pool to the host's. The cost is starting the threads at each call, a few tens of
// microseconds.

namespace {

std::atomic<int> g_threadCount{0};
thread_local int g_threadCountHere = 0; // 0: that of the process

constexpr int c_sensibleThreadCount = 1024;

int DefaultThreadCount() {
    if (const char* text = std::getenv("OMP_NUM_THREADS")) {
        int count = 0;
        if (std::from_chars(text, text + std::strlen(text), count).ec == std::errc() && count > 0)
            return std::min(count, c_sensibleThreadCount);
    }
    return std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

} // namespace

int ThreadCount() {
    const int count = g_threadCountHere > 0 ? g_threadCountHere : g_threadCount.load();
    return count > 0 ? count : DefaultThreadCount();
}

void SetThreadCount(int count) { g_threadCount = std::clamp(count, 0, c_sensibleThreadCount); }

CThreadLimit::CThreadLimit(int count)
    : m_before(std::exchange(g_threadCountHere, std::clamp(count, 0, c_sensibleThreadCount))) {}

CThreadLimit::~CThreadLimit() { g_threadCountHere = m_before; }

namespace Impl {

/// The state shared by the threads of one job.
class CSharedWork {
public:
    CSharedWork(std::int64_t count, IProgress& progress)
        : m_count(count)
        , m_progress(progress) {
        CJobRecording* const recording = CJobRecording::Current();
        m_threadCount = recording == nullptr ? std::min<std::int64_t>(ThreadCount(), count) : 1;
        if (recording == nullptr || recording->m_isInJob)
            return;
        m_recording = recording;
        m_recording->Begin();
    }
    CSharedWork(const CSharedWork&) = delete;
    CSharedWork& operator=(const CSharedWork&) = delete;
    ~CSharedWork() {
        if (m_recording != nullptr)
            m_recording->End();
    }

    [[nodiscard]] std::int64_t ThreadsToUse() const { return m_threadCount; }

    /// Does one thread's share of the work. An exception ends the job and is stored.
    void TakePart(const std::function<void(CWorkerTurn&)>& work, bool isCaller) {
        try {
            CWorkerTurn turn(*this, isCaller);
            work(turn);
        } catch (...) {
            Fail();
        }
    }

    /// Counts a helper thread as started; called before it starts.
    void AddHelper() {
        const std::lock_guard lock(m_guard);
        ++m_helpersAtWork;
    }

    void RemoveHelper() {
        {
            const std::lock_guard lock(m_guard);
            --m_helpersAtWork;
        }
        m_helperLeft.notify_one();
    }

    /// The calling thread waits for the helpers and continues to serve the sink meanwhile.
    void AwaitHelpers() {
        std::unique_lock lock(m_guard);
        while (!m_helperLeft.wait_for(lock, c_pollInterval, [this] { return m_helpersAtWork == 0; })) {
            lock.unlock();
            try {
                ReportSteps();
                (void)AskSink();
            } catch (...) {
                Fail();
            }
            lock.lock();
        }
    }

    /// Called after the last thread has finished: rethrows the stored exception, and reports the remaining
    /// steps.
    bool Finish() {
        if (m_failure)
            std::rethrow_exception(m_failure);
        ReportSteps();
        return !m_isCancelled;
    }

    /// Claims the next item, if any is left.
    bool Claim(std::int64_t& item) {
        item = m_hasEnded ? m_count : m_next.fetch_add(1);
        const bool hasItem = item < m_count;
        if (m_recording != nullptr)
            m_recording->MoveOn(hasItem);
        return hasItem;
    }
    void CountItem() { ++m_done; }
    [[nodiscard]] bool HasEnded() const { return m_hasEnded; }

    /// Call only on the calling thread.
    bool AskSink() {
        if (!m_isCancelled && m_progress.IsCancelled()) {
            m_isCancelled = true;
            m_hasEnded = true;
        }
        return m_isCancelled;
    }

    /// Call only on the calling thread.
    void ReportSteps() {
        const std::int64_t done = m_done;
        if (done > m_reported)
            m_progress.Step(static_cast<unsigned>(done - std::exchange(m_reported, done)), 0);
    }

private:
    static constexpr std::chrono::milliseconds c_pollInterval{5};

    void Fail() {
        const std::lock_guard lock(m_guard);
        if (!m_failure)
            m_failure = std::current_exception();
        m_hasEnded = true;
    }

    const std::int64_t m_count;
    IProgress& m_progress;
    std::int64_t m_threadCount = 1;
    CJobRecording* m_recording = nullptr; // if set, there is one thread
    std::int64_t m_reported = 0;
    bool m_isCancelled = false; // used by the calling thread only
    std::atomic<std::int64_t> m_next{0};
    std::atomic<std::int64_t> m_done{0};
    std::atomic<bool> m_hasEnded{false}; // cancelled or failed
    std::mutex m_guard;
    std::condition_variable m_helperLeft;
    std::int64_t m_helpersAtWork = 0;
    std::exception_ptr m_failure;
};

bool RunOnThreads(std::int64_t count, IProgress& progress, const std::function<void(CWorkerTurn&)>& work) {
    CSharedWork shared(count, progress);
    if (shared.AskSink())
        return false;
    {
        std::vector<std::jthread> helpers;
        // If the system provides fewer threads than requested, these do the same work.
        for (std::int64_t i = 1; i < shared.ThreadsToUse(); ++i) {
            shared.AddHelper();
            try {
                helpers.emplace_back([&shared, &work] {
                    shared.TakePart(work, false);
                    shared.RemoveHelper();
                });
            } catch (const std::exception&) {
                shared.RemoveHelper();
                break;
            }
        }
        shared.TakePart(work, true);
        shared.AwaitHelpers();
    }
    return shared.Finish();
}

} // namespace Impl

bool CWorkerTurn::IsCancelled() { return (m_isCaller && m_work.AskSink()) || m_work.HasEnded(); }

bool CWorkerTurn::Take(std::int64_t& item) {
    if (m_hasItem)
        m_work.CountItem();
    m_hasItem = false;
    if (m_isCaller) {
        m_work.ReportSteps();
        (void)m_work.AskSink();
    }
    m_hasItem = m_work.Claim(item);
    return m_hasItem;
}

} // namespace ORVEN
