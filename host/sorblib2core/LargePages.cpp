#include "sorblib2core/LargePages.h"

#ifdef __linux__
#include <sys/mman.h>
#include <unistd.h>
#endif

#include <cstdint>

namespace ORVEN {

void PreferLargePages([[maybe_unused]] const void* memory, [[maybe_unused]] std::size_t byteCount) {
#ifdef __linux__
    constexpr std::size_t worthAsking = std::size_t{1} << 22;
    if (byteCount < worthAsking)
        return;
    // The request is for whole pages; what shares its page with other memory is left out.
    const auto pageSize = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto begin = reinterpret_cast<std::uintptr_t>(memory);
    const std::uintptr_t first = (begin + pageSize - 1) / pageSize * pageSize;
    const std::uintptr_t end = (begin + byteCount) / pageSize * pageSize;
    (void)madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
#endif
}

} // namespace ORVEN
