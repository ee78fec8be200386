#pragma once

#include <cstdint>

namespace test {

/// Counts what the kernels do, which are built for these tests so that each basic block that they execute
/// counts as a step, and each 16 bytes that they have set or copied as another. A step takes from a third of
/// a nanosecond to a few. Unlike the clock the count is the same in every run, and it leaves out nothing that
/// a kernel forgets to report.
class CStepCounter {
public:
    /// Of this thread, since it began.
    [[nodiscard]] static std::int64_t Steps();
};

} // namespace test
