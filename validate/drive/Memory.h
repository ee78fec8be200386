#pragma once

#include <atomic>
#include <cstdint>

/// Counts of what the operator new of the process hands out, and ways to make it fail. They work in the
/// program that checks rules, which replaces that operator; elsewhere the counts stay 0.
namespace validate::memory {

/// Blocks that were allocated and not yet freed.
extern std::atomic<std::int64_t> g_liveBlocks;
/// Allocations so far.
extern std::atomic<std::int64_t> g_allocations;
/// The number of allocations that succeed before one fails; negative: none fails.
extern std::atomic<std::int64_t> g_untilFailure;
/// What new memory is filled with, 0 to 255; negative: nothing in particular.
extern std::atomic<int> g_filling;

/// Makes one allocation fail: that after `successes` others. It works once, until the object ends.
class CFailure {
public:
    explicit CFailure(std::int64_t successes) { g_untilFailure = successes; }
    CFailure(const CFailure&) = delete;
    CFailure& operator=(const CFailure&) = delete;
    ~CFailure() { g_untilFailure = -1; }
};

/// Fills all new memory with a byte, until the object ends.
class CFilling {
public:
    explicit CFilling(unsigned char byte) { g_filling = byte; }
    CFilling(const CFilling&) = delete;
    CFilling& operator=(const CFilling&) = delete;
    ~CFilling() { g_filling = -1; }
};

} // namespace validate::memory
