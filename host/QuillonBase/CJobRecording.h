#pragma once

#include <vector>

namespace ORVEN {

namespace Impl {
class CSharedWork;
} // namespace Impl

/// While it exists, a `ParallelFor` on this thread divides its work for `ThreadCount()` threads, but
/// processes all items on this thread, in order, and records the time that each of them takes. Benchmarks
/// compute from these times how evenly the work would be distributed over more threads than there are
/// processors; tests count the items.
///
/// A job that an item starts is part of the item. Create and destroy the object on the same thread. If there
/// are several, the latest one records. Results are the same as without it. Memory: 8 bytes for each item.
class CJobRecording {
public:
    /// The processor time of each item in seconds, in the order of the items. Items that raised an exception
    /// or were never begun are missing.
    using Job = std::vector<double>;

    CJobRecording();
    CJobRecording(const CJobRecording&) = delete;
    CJobRecording& operator=(const CJobRecording&) = delete;
    ~CJobRecording();

    /// In the order in which the jobs began.
    [[nodiscard]] const std::vector<Job>& Jobs() const { return m_jobs; }

private:
    friend class Impl::CSharedWork;

    /// The recording of this thread, or null.
    static CJobRecording* Current();

    void Begin();
    /// Ends the current item, if any, and begins another one if `hasItem`.
    void MoveOn(bool hasItem);
    void End();

    CJobRecording* const m_before;
    std::vector<Job> m_jobs;
    bool m_isInJob = false;
    bool m_isInItem = false;
    double m_itemBegin = 0.0;
};

} // namespace ORVEN
