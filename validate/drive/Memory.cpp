#include "validate/drive/Memory.h"

namespace validate::memory {

std::atomic<std::int64_t> g_liveBlocks{0};
std::atomic<std::int64_t> g_allocations{0};
std::atomic<std::int64_t> g_untilFailure{-1};
std::atomic<int> g_filling{-1};

} // namespace validate::memory
