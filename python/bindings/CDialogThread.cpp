#include "python/bindings/CDialogThread.h"

#include "engine/errors/CEngineError.h"

#include <QCoreApplication>

#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <future>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>

namespace quillon_python {

namespace {

/// Dialogs are answered on a platform without a display. Afterwards windows of other modules open as before.
class CKeptPlatform {
public:
    CKeptPlatform() {
        if (const char* const platform = std::getenv(c_variable))
            m_platform = platform;
    }
    CKeptPlatform(const CKeptPlatform&) = delete;
    CKeptPlatform& operator=(const CKeptPlatform&) = delete;
    ~CKeptPlatform() {
        if (m_platform)
            setenv(c_variable, m_platform->c_str(), 1);
        else
            unsetenv(c_variable);
    }

private:
    static constexpr const char* c_variable = "QT_QPA_PLATFORM";
    std::optional<std::string> m_platform;
};

/// Does one task at a time. Never destroyed: the thread waits until the process ends.
class CWorker {
public:
    CWorker()
        : m_process(getpid()) {
        std::thread([this] { Work(); }).detach();
    }

    std::future<void> Begin(const std::function<void()>& work) {
        if (m_process != getpid())
            throw engine::CCallerError("this process was forked after a run with dialogs and cannot have "
                                       "another; start processes with the method \"spawn\"");
        std::packaged_task<void()> task(work);
        std::future<void> end = task.get_future();
        {
            const std::lock_guard lock(m_guard);
            m_task = std::move(task);
        }
        m_hasTask.notify_one();
        return end;
    }

private:
    void Work() {
        for (;;) {
            std::unique_lock lock(m_guard);
            m_hasTask.wait(lock, [this] { return m_task.valid(); });
            std::packaged_task<void()> task = std::exchange(m_task, {});
            lock.unlock();
            task();
        }
    }

    const pid_t m_process;
    std::mutex m_guard;
    std::condition_variable m_hasTask;
    std::packaged_task<void()> m_task;
};

} // namespace

void CDialogThread::Run(const std::function<void()>& work, const std::function<void()>& wait) {
    static auto* const oneAtATime = new std::timed_mutex;
    constexpr std::chrono::milliseconds interval{50};
    std::unique_lock lock(*oneAtATime, std::defer_lock);
    while (!lock.try_lock_for(interval))
        wait();
    const CKeptPlatform platform;
    if (QCoreApplication::instance() != nullptr) {
        work();
        return;
    }
    static auto* const worker = new CWorker;
    std::future<void> end = worker->Begin(work);
    while (end.wait_for(interval) != std::future_status::ready)
        wait();
    end.get();
}

} // namespace quillon_python
