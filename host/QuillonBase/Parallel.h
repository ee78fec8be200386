#pragma once

#include "QuillonBase/IProgress.h"

#include <cstdint>
#include <functional>
#include <type_traits>

namespace ORVEN {

/// How many threads `ParallelFor` uses: what `SetThreadCount` said, else OMP_NUM_THREADS, else one per
/// processor.
[[nodiscard]] int ThreadCount();

/// 0 goes back to the default; there are never more than 1024.
void SetThreadCount(int count);

namespace Impl {
class CSharedWork;
} // namespace Impl

/// One thread's part in a `ParallelFor`: hands out items, and answers whether the job is cancelled.
class CWorkerTurn {
public:
    CWorkerTurn(const CWorkerTurn&) = delete;
    CWorkerTurn& operator=(const CWorkerTurn&) = delete;

    /// For items that can take longer than 20 ms: ask between their pieces, and leave the item where it
    /// stands once the answer is true, which means that the job is cancelled or has failed. On the thread
    /// that called `ParallelFor` this asks the progress sink, on the others it reads a flag that this thread
    /// sets.
    [[nodiscard]] bool IsCancelled();

    /// Claims the next item; false when there is none left or the job is to end.
    [[nodiscard]] bool Take(std::int64_t& item);

private:
    friend class Impl::CSharedWork;
    CWorkerTurn(Impl::CSharedWork& work, bool isCaller)
        : m_work(work)
        , m_isCaller(isCaller) {}

    Impl::CSharedWork& m_work;
    const bool m_isCaller;
    bool m_hasItem = false;
};

namespace Impl {

/// Runs `work` on each thread that takes part, with its own turn. Returns false if the job was cancelled.
bool RunOnThreads(std::int64_t count, IProgress& progress, const std::function<void(CWorkerTurn&)>& work);

} // namespace Impl

/// Does the items 0 to count - 1 of a job, several at once, in any order.
///
/// `makeWorker(turn)`, or `makeWorker()` where items are short, is called once on each thread that takes part
/// and returns the function that does one item, `worker(item)`, so that scratch memory can live in its
/// closure; the worker need not be copyable. Items must not depend on one another, and a result must not
/// depend on which thread did which item, so that it is the same for any number of threads. Pick items of a
/// millisecond or more, such as a plane or a block of lines; one that can take longer than 20 ms asks
/// `turn.IsCancelled()` in between.
///
/// Progress: the calling thread steps by one for each item done; start and finish are up to the caller. Only
/// the calling thread uses the sink. It asks `IsCancelled` before each of its items, and every few
/// milliseconds while it waits for the others. Once the answer is true no further item begins. The first
/// exception that an item raises also ends the job and is raised again here. Returns false if the job was
/// cancelled; some items are then not done, or done in part.
template <class MakeWorker>
bool ParallelFor(std::int64_t count, IProgress& progress, const MakeWorker& makeWorker) {
    return Impl::RunOnThreads(count, progress, [&makeWorker](CWorkerTurn& turn) {
        auto worker = [&] {
            if constexpr (std::is_invocable_v<const MakeWorker&, CWorkerTurn&>)
                return makeWorker(turn);
            else
                return makeWorker();
        }();
        std::int64_t item = 0;
        while (turn.Take(item))
            worker(item);
    });
}

} // namespace ORVEN
