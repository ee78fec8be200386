#pragma once

#include "QuillonBase/Parallel.h"

namespace test {

/// Sets the number of threads as long as the object lives. With one thread, the questions whether a job is
/// cancelled come in the same order in every run; with more, their number depends on how the threads are
/// scheduled.
class CThreadCount {
public:
    explicit CThreadCount(int count) { ORVEN::SetThreadCount(count); }
    CThreadCount(const CThreadCount&) = delete;
    CThreadCount& operator=(const CThreadCount&) = delete;
    ~CThreadCount() { ORVEN::SetThreadCount(0); }
};

} // namespace test
