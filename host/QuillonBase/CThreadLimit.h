#pragma once

namespace ORVEN {

/// While it exists, `ParallelFor` on this thread uses so many threads. Others keep the number that
/// `SetThreadCount` set for the process, so that a host can run several plug-ins at once, each with its own
/// number. 0 means the number of the process; at most 1024. Create and destroy it on the same thread.
class CThreadLimit {
public:
    explicit CThreadLimit(int count);
    CThreadLimit(const CThreadLimit&) = delete;
    CThreadLimit& operator=(const CThreadLimit&) = delete;
    ~CThreadLimit();

private:
    const int m_before;
};

} // namespace ORVEN
