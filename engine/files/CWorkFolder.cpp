#include "engine/files/CWorkFolder.h"

#include "engine/files/EndingSignals.h"
#include "engine/files/FileErrors.h"
#include "engine/files/UnfinishedFiles.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>

namespace fs = std::filesystem;

namespace engine {

namespace {

constexpr std::string_view c_prefix = ".quillon-partial-";
constexpr std::string_view c_random = "XXXXXX"; // for mkdtemp to replace

bool IsWorkFolderName(const std::string& name) {
    return name.size() == c_prefix.size() + c_random.size() && name.starts_with(c_prefix) &&
           std::all_of(name.begin() + c_prefix.size(), name.end(),
                       [](unsigned char c) { return std::isalnum(c) != 0; });
}

int OpenFolder(const fs::path& path) {
    return open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

/// Whether the descriptor still refers to the folder at the path, which may have been removed in the
/// meantime.
bool IsAt(int folder, const fs::path& path) {
    struct stat opened {};
    struct stat found {};
    return fstat(folder, &opened) == 0 && lstat(path.c_str(), &found) == 0 && opened.st_ino == found.st_ino &&
           opened.st_dev == found.st_dev;
}

void RemoveIfLeftBehind(const fs::path& path) {
    const int folder = OpenFolder(path);
    if (folder < 0)
        return;
    struct stat status {};
    const bool isOurs = fstat(folder, &status) == 0 && status.st_uid == geteuid();
    std::error_code ignored;
    if (isOurs && flock(folder, LOCK_EX | LOCK_NB) == 0 && IsAt(folder, path))
        fs::remove_all(path, ignored);
    close(folder);
}

void RemoveLeftBehind(const fs::path& parent) {
    std::error_code ignored;
    for (auto entry = fs::directory_iterator(parent, ignored); entry != fs::directory_iterator();
         entry.increment(ignored)) {
        if (IsWorkFolderName(entry->path().filename().string()))
            RemoveIfLeftBehind(entry->path());
    }
}

} // namespace

CWorkFolder::CWorkFolder(const fs::path& parent) {
    RemoveLeftBehind(parent.empty() ? "." : parent);
    const CEndingSignalsBlock block; // no signal may arrive between creating and registering
    do {
        if (m_lock >= 0)
            close(m_lock);
        std::string path = (parent / (std::string(c_prefix) + std::string(c_random))).string();
        if (mkdtemp(path.data()) == nullptr)
            throw SystemReason(errno);
        m_path = path;
        m_lock = OpenFolder(m_path);
        if (m_lock >= 0)
            flock(m_lock, LOCK_EX);
        // Before it was locked, the folder looked abandoned, and another process may have removed it.
    } while (m_lock >= 0 && !IsAt(m_lock, m_path));
    RememberUnfinishedFolder(m_path);
}

CWorkFolder::~CWorkFolder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
    ForgetUnfinishedFolder();
    if (m_lock >= 0)
        close(m_lock);
}

} // namespace engine
