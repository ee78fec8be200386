#pragma once

#include "QuillonBase/IProgress.h"

#include <cstdint>
#include <functional>
#include <type_traits>

namespace ORVEN {

/// The number of threads that `ParallelFor` uses: the number passed to `SetThreadCount`, else
/// OMP_NUM_THREADS, else one per processor.
[[nodiscard]] int ThreadCount();

/// 0 restores the default. The number of threads is limited to 1024.
void SetThreadCount(int count);

namespace Impl {
class CSharedWork;
} // namespace Impl

/// One thread's share of a `ParallelFor`: hands out items, and reports whether the job is cancelled.
class CWorkerTurn {
public:
    CWorkerTurn(const CWorkerTurn&) = delete;
    CWorkerTurn& operator=(const CWorkerTurn&) = delete;

    /// For items that can take longer than 20 ms: call it between pieces of the item, and abandon the item
    /// once it returns true, which means that the job is cancelled or has failed. On the thread that called
    /// `ParallelFor` it asks the progress sink; on the others it reads a flag that the calling thread sets.
    [[nodiscard]] bool IsCancelled();

    /// Claims the next item. Returns false if none is left or the job must end.
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

/// Runs `work` on each participating thread, with a turn of its own. Returns false if the job was cancelled.
bool RunOnThreads(std::int64_t count, IProgress& progress, const std::function<void(CWorkerTurn&)>& work);

} // namespace Impl

/// Processes the items 0 to count - 1 of a job in parallel, in any order.
///
/// `makeWorker(turn)`, or `makeWorker()` where items are short, is called once on each participating thread.
/// It returns the function that processes one item, `worker(item)`, so that scratch memory can live in its
/// closure; the worker need not be copyable. Items must not depend on one another, and a result must not
/// depend on which thread processed which item, so that it is the same for any number of threads. Choose
/// items that take a millisecond or more, such as a plane or a block of lines. An item that can take longer
/// than 20 ms must call `turn.IsCancelled()` between its pieces.
///
/// Progress: the calling thread steps by one for each finished item; the caller starts and finishes the
/// phase. Only the calling thread uses the sink. It checks `IsCancelled` before each of its items, and every
/// few milliseconds while it waits for the others. Once the job is cancelled, no further item begins. The
/// first exception that an item raises also ends the job and is rethrown here. Returns false if the job was
/// cancelled; some items may then be unprocessed or only partly processed.
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
