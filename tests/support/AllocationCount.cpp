#include "support/AllocationCount.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::int64_t> g_allocated{0};
std::atomic<std::int64_t> g_peak{0};

/// Stands before each block and keeps its size; as large as any alignment that plain `new` has to provide.
struct alignas(std::max_align_t) StHeader {
    std::size_t size;
};

void* Allocate(std::size_t size) {
    auto* const header = static_cast<StHeader*>(std::malloc(sizeof(StHeader) + size));
    if (header == nullptr)
        throw std::bad_alloc();
    header->size = size;
    const std::int64_t now = g_allocated += static_cast<std::int64_t>(size);
    for (std::int64_t peak = g_peak; now > peak && !g_peak.compare_exchange_weak(peak, now);) {
    }
    return header + 1;
}

void Free(void* block) {
    if (block == nullptr)
        return;
    StHeader* const header = static_cast<StHeader*>(block) - 1;
    g_allocated -= static_cast<std::int64_t>(header->size);
    std::free(header);
}

} // namespace

void* operator new(std::size_t size) { return Allocate(size); }
void* operator new[](std::size_t size) { return Allocate(size); }
void operator delete(void* block) noexcept { Free(block); }
void operator delete[](void* block) noexcept { Free(block); }
void operator delete(void* block, std::size_t /*size*/) noexcept { Free(block); }
void operator delete[](void* block, std::size_t /*size*/) noexcept { Free(block); }

namespace test {

CAllocationPeak::CAllocationPeak()
    : m_before(g_allocated) {
    g_peak = m_before;
}

std::int64_t CAllocationPeak::Bytes() const { return g_peak - m_before; }

} // namespace test
