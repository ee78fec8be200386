#include "QuillonBase/Parallel.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace ORVEN {

// Plain threads rather than OpenMP: they pass exceptions, a thread sanitizer understands them, and no second
// thread pool stands beside the host's. The price is the start of the threads at each call, some tens of
// microseconds.

namespace {

std::atomic<int> g_threadCount{0};

constexpr int g_sensibleThreadCount = 1024;

int DefaultThreadCount() {
    if (const char* text = std::getenv("OMP_NUM_THREADS")) {
        int count = 0;
        if (std::from_chars(text, text + std::strlen(text), count).ec == std::errc() && count > 0)
            return std::min(count, g_sensibleThreadCount);
    }
    return std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

} // namespace

int ThreadCount() {
    const int count = g_threadCount.load();
    return count > 0 ? count : DefaultThreadCount();
}

void SetThreadCount(int count) { g_threadCount = std::clamp(count, 0, g_sensibleThreadCount); }

bool ParallelFor(std::int64_t count, IProgress& progress,
                 const std::function<std::function<void(std::int64_t item)>()>& makeWorker) {
    std::atomic<std::int64_t> next{0};
    std::atomic<std::int64_t> done{0};
    std::atomic<bool> stop{false};
    std::atomic<bool> cancelled{false};
    std::mutex failureGuard;
    std::exception_ptr failure;

    const auto work = [&](bool reportsProgress) {
        std::int64_t reported = 0;
        try {
            const auto worker = makeWorker();
            while (!stop) {
                if (progress.IsCancelled()) {
                    cancelled = true;
                    break;
                }
                const std::int64_t item = next++;
                if (item >= count)
                    break;
                worker(item);
                const std::int64_t doneNow = ++done;
                if (reportsProgress) {
                    progress.Step(static_cast<unsigned>(doneNow - reported), 0);
                    reported = doneNow;
                }
            }
        } catch (...) {
            const std::lock_guard lock(failureGuard);
            if (!failure)
                failure = std::current_exception();
            stop = true;
        }
        if (cancelled)
            stop = true;
        return reported;
    };

    std::int64_t reported = 0;
    {
        std::vector<std::jthread> helpers;
        const std::int64_t threads = std::min<std::int64_t>(ThreadCount(), count);
        // Fewer threads than asked for, if the system gives no more, do the same work.
        try {
            for (std::int64_t i = 1; i < threads; ++i)
                helpers.emplace_back([&work] { work(false); });
        } catch (const std::system_error&) {
        }
        reported = work(true);
    }
    if (failure)
        std::rethrow_exception(failure);
    if (done > reported)
        progress.Step(static_cast<unsigned>(done - reported), 0);
    return !cancelled;
}

} // namespace ORVEN
