#include "engine/files/UnfinishedFiles.h"

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
#include <cstdio>
#include <cstring>

namespace engine {

namespace {

using Path = std::array<char, PATH_MAX>;

struct StFolder {
    Path path{};
    std::atomic<bool> isThere{false};
};

struct StKept {
    Path folder{};
    Path kept{};
    Path place{};
    std::atomic<bool> isThere{false};
};

StFolder g_unfinished;
StKept g_kept;

/// The kernel's directory entry, as returned by getdents64.
struct StKernelEntry {
    std::uint64_t inode;
    std::int64_t nextOffset;
    std::uint16_t length;
    std::uint8_t type;
    char name[1]; // continues up to its zero byte
};

bool Store(Path& path, const std::string& text) {
    if (text.size() >= path.size())
        return false;
    std::copy_n(text.c_str(), text.size() + 1, path.begin());
    return true;
}

void RemoveFolder(const Path& path) noexcept {
    const int folder = open(path.data(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    // opendir is not allowed here: it allocates memory, and the signal may have interrupted an allocation.
    alignas(StKernelEntry) std::array<char, 4096> buffer{};
    for (long size = 0; (size = syscall(SYS_getdents64, folder, buffer.data(), buffer.size())) > 0;) {
        for (long at = 0; at < size;) {
            const char* entry = buffer.data() + at;
            std::uint16_t length = 0;
            std::memcpy(&length, entry + offsetof(StKernelEntry, length), sizeof length);
            unlinkat(folder, entry + offsetof(StKernelEntry, name),
                     0); // fails for "." and "..", as intended
            at += length;
        }
    }
    close(folder);
    rmdir(path.data());
}

} // namespace

void RememberUnfinishedFolder(const std::string& folder) {
    g_unfinished.isThere = false;
    g_unfinished.isThere = Store(g_unfinished.path, folder);
}

void ForgetUnfinishedFolder() { g_unfinished.isThere = false; }

void RememberKeptFile(const std::string& folder, const std::string& kept, const std::string& place) {
    g_kept.isThere = false;
    g_kept.isThere = Store(g_kept.folder, folder) && Store(g_kept.kept, kept) && Store(g_kept.place, place);
}

void ForgetKeptFile() { g_kept.isThere = false; }

void AbandonUnfinishedFiles() noexcept {
    if (g_unfinished.isThere)
        RemoveFolder(g_unfinished.path);
    if (!g_kept.isThere)
        return;
    if (g_kept.kept[0] == '\0') {
        unlink(g_kept.place.data());
        return;
    }
    // The folder is removed only if it is empty: a file that cannot be moved back must not be lost.
    if (std::rename(g_kept.kept.data(), g_kept.place.data()) == 0)
        rmdir(g_kept.folder.data());
}

} // namespace engine
