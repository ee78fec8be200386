#pragma once

#include "QuillonBase/IProgress.h"

#include <cstdint>
#include <functional>

namespace ORVEN {

/// How many threads `ParallelFor` uses: what `SetThreadCount` said, else OMP_NUM_THREADS, else one per
/// processor.
[[nodiscard]] int ThreadCount();

/// 0 goes back to the default; there are never more than 1024.
void SetThreadCount(int count);

/// Does the items 0 to count - 1 of a job, several at once, in any order.
///
/// `makeWorker` is called once on each thread that takes part and returns the function that does one item, so
/// that scratch memory can live in its closure. Items must not depend on one another, and a result must not
/// depend on which thread did which item, so that it is the same for any number of threads. Pick items of a
/// millisecond or more, such as a plane or a block of lines.
///
/// Progress: the calling thread steps by one for each item done; start and finish are the caller's affair.
/// Before each item `progress.IsCancelled()` is asked; once it answers true no further item begins. The first
/// exception that an item raises ends the job alike and is raised again here. Returns false if the job was
/// cancelled.
bool ParallelFor(std::int64_t count, IProgress& progress,
                 const std::function<std::function<void(std::int64_t item)>()>& makeWorker);

} // namespace ORVEN
