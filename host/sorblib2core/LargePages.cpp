#include "sorblib2core/LargePages.h"

#ifdef __linux__
#include <sys/mman.h>
#include <unistd.h>
#endif

#include <cstdint>

namespace ORVEN {

void PreferLargePages([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t byteCount) {
#ifdef __linux__
    constexpr std::size_t worthAsking = std::size_t{1} << 22;
    if (byteCount < worthAsking)
        return;
    // The request is for whole pages; what shares its page with other memory is left out.
    const auto pageSize = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t before = (0 - reinterpret_cast<std::uintptr_t>(memory)) % pageSize;
    (void)madvise(static_cast<char*>(memory) + before, (byteCount - before) / pageSize * pageSize,
                  MADV_HUGEPAGE);
#endif
}

} // namespace ORVEN
