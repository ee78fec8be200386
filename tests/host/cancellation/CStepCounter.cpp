#include "host/cancellation/CStepCounter.h"

#include <cstddef>

namespace {

thread_local std::int64_t g_steps = 0;

void CountBytes(std::size_t count) { g_steps += static_cast<std::int64_t>(count / 16); }

} // namespace

// What the instrumented code calls. Functions of the C library are wrapped by the linker.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

void __sanitizer_cov_trace_pc() { ++g_steps; }

void* __real_memset(void* target, int value, std::size_t count);
void* __real_memcpy(void* target, const void* source, std::size_t count);
void* __real_memmove(void* target, const void* source, std::size_t count);

void* __wrap_memset(void* target, int value, std::size_t count) {
    CountBytes(count);
    return __real_memset(target, value, count);
}
void* __wrap_memcpy(void* target, const void* source, std::size_t count) {
    CountBytes(count);
    return __real_memcpy(target, source, count);
}
void* __wrap_memmove(void* target, const void* source, std::size_t count) {
    CountBytes(count);
    return __real_memmove(target, source, count);
}
}
// NOLINTEND(bugprone-reserved-identifier)

namespace test {

std::int64_t CStepCounter::Steps() { return g_steps; }

} // namespace test
