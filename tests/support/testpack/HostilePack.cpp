// Packs that must not do harm to a program: one for each definition.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace {

#ifdef QUILLON_PACK_CRASHES
[[gnu::constructor]] void Crash() { std::abort(); }
#endif
#ifdef QUILLON_PACK_HANGS
[[gnu::constructor]] void Hang() {
    for (;;)
        pause();
}
#endif
#ifdef QUILLON_PACK_CRASHES_AT_ITS_END
[[gnu::destructor]] void Crash() { std::abort(); }
#endif
#ifdef QUILLON_PACK_PRINTS
[[gnu::constructor]] void Print() {
    std::printf("usable\nprovides Everything\n");
    std::fprintf(stderr, "hello\n");
    std::fflush(stdout);
}
#endif

} // namespace

#ifndef QUILLON_PACK_IS_EMPTY
extern "C" [[gnu::visibility("default")]] void* CreatePluginInstanceEx(const char* /*name*/) {
    return nullptr;
}
#endif
