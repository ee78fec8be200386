#include "PartialFolder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace app {

namespace {

std::array<char, PATH_MAX> g_path{};
std::atomic<bool> g_isThere{false};

/// What the kernel writes for each name in a folder.
struct StKernelEntry {
    std::uint64_t inode;
    std::int64_t nextOffset;
    std::uint16_t length;
    std::uint8_t type;
    char name[1]; // and on, up to its zero byte
};

} // namespace

void RememberPartialFolder(const std::string& path) {
    g_isThere = false;
    if (path.size() >= g_path.size())
        return;
    std::copy_n(path.c_str(), path.size() + 1, g_path.begin());
    g_isThere = true;
}

void ForgetPartialFolder() { g_isThere = false; }

void RemovePartialFolder() noexcept {
    if (!g_isThere)
        return;
    const int folder = open(g_path.data(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    // opendir allocates memory, which the interrupted code may be in the midst of.
    alignas(StKernelEntry) std::array<char, 4096> buffer{};
    for (long size = 0; (size = syscall(SYS_getdents64, folder, buffer.data(), buffer.size())) > 0;) {
        for (long at = 0; at < size;) {
            const char* entry = buffer.data() + at;
            std::uint16_t length = 0;
            std::memcpy(&length, entry + offsetof(StKernelEntry, length), sizeof length);
            unlinkat(folder, entry + offsetof(StKernelEntry, name),
                     0); // fails for "." and "..", which is well
            at += length;
        }
    }
    close(folder);
    rmdir(g_path.data());
}

} // namespace app
