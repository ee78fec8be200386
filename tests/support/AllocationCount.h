#pragma once

#include <cstdint>

/// Memory from `operator new`, which a test binary counts if it contains AllocationCount.cpp. That replaces
/// the operators of the whole process, and so belongs only in binaries of their own.
namespace test {

/// Counts from its construction: the peak, in bytes, beyond what was allocated then.
class CAllocationPeak {
public:
    CAllocationPeak();
    [[nodiscard]] std::int64_t Bytes() const;

private:
    std::int64_t m_before;
};

} // namespace test
