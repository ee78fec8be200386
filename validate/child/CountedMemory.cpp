// The operator new and delete of the program that checks rules: they count, fail and fill on demand. Freed
// memory is overwritten, so that what is read from it later is neither right nor the same twice.

#include "validate/drive/Memory.h"

#include <malloc.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

using namespace validate::memory;

constexpr unsigned char c_freed = 0xDD;

void* TryToAllocate(std::size_t size, std::size_t alignment) {
    if (g_untilFailure >= 0 && g_untilFailure-- == 0)
        return nullptr;
    const std::size_t wanted = size == 0 ? 1 : size;
    void* const block = alignment <= alignof(std::max_align_t)
                            ? std::malloc(wanted)
                            : std::aligned_alloc(alignment, (wanted + alignment - 1) / alignment * alignment);
    if (block == nullptr)
        return nullptr;
    ++g_allocations;
    ++g_liveBlocks;
    if (const int filling = g_filling; filling >= 0)
        std::memset(block, filling, wanted);
    return block;
}

void* Allocate(std::size_t size, std::size_t alignment = 1) {
    void* const block = TryToAllocate(size, alignment);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

void Free(void* block) {
    if (block == nullptr)
        return;
    --g_liveBlocks;
#ifndef __SANITIZE_ADDRESS__ // which finds such reads itself
    std::memset(block, c_freed, malloc_usable_size(block));
    // The block is freed next, so that a compiler would take the line above for useless.
    asm volatile("" : : "r"(block) : "memory");
#endif
    std::free(block);
}

} // namespace

void* operator new(std::size_t size) { return Allocate(size); }
void* operator new[](std::size_t size) { return Allocate(size); }
void* operator new(std::size_t size, std::align_val_t alignment) {
    return Allocate(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return Allocate(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return TryToAllocate(size, 1); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return TryToAllocate(size, 1); }
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return TryToAllocate(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return TryToAllocate(size, static_cast<std::size_t>(alignment));
}

void operator delete(void* block) noexcept { Free(block); }
void operator delete[](void* block) noexcept { Free(block); }
void operator delete(void* block, std::size_t) noexcept { Free(block); }
void operator delete[](void* block, std::size_t) noexcept { Free(block); }
void operator delete(void* block, std::align_val_t) noexcept { Free(block); }
void operator delete[](void* block, std::align_val_t) noexcept { Free(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { Free(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { Free(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { Free(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { Free(block); }
