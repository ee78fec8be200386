#include "engine/files/CAtomicFile.h"

#include "engine/files/EndingSignals.h"
#include "engine/files/FileErrors.h"

#include <algorithm>

namespace fs = std::filesystem;

namespace engine {

fs::path FollowLink(const std::string& path) {
    std::error_code error;
    if (fs::is_symlink(path, error) && fs::exists(path, error)) {
        if (fs::path target = fs::canonical(path, error); !error)
            return target;
    }
    return path;
}

CAtomicFile::CAtomicFile(const std::string& target)
    : m_named(target)
    , m_target(FollowLink(target)) {
    std::error_code error;
    if (const auto status = fs::status(m_target, error); fs::exists(status) && !fs::is_regular_file(status))
        ThrowUnwritable(m_named, "it is not a regular file");
    if (!m_target.has_filename())
        ThrowUnwritable(m_named, "it is not the name of a file");
    Writing(m_named, [this] { m_folder.emplace(m_target.parent_path()); });
}

std::string CAtomicFile::Path() const { return CompanionPath(m_target.filename()); }

std::string CAtomicFile::CompanionPath(const std::string& name) const {
    return (m_folder->Path() / name).string();
}

void CAtomicFile::Move(const fs::path& name) const {
    std::error_code error;
    fs::rename(m_folder->Path() / name, m_target.parent_path() / name, error);
    if (error)
        ThrowUnwritable(m_named, SystemReason(error.value()));
}

void CAtomicFile::Commit(const std::vector<std::string>& companions) {
    std::vector<fs::path> written;
    for (const auto& entry : fs::directory_iterator(m_folder->Path())) {
        if (entry.path().filename() != m_target.filename())
            written.push_back(entry.path().filename());
    }
    const CEndingSignalsBlock block; // a file without its companions is useless
    for (const auto& name : written)
        Move(name);
    for (const fs::path name : companions) {
        std::error_code error;
        if (std::find(written.begin(), written.end(), name) == written.end())
            fs::remove(m_target.parent_path() / name, error);
        if (error)
            ThrowUnwritable(m_named, SystemReason(error.value()));
    }
    Move(m_target.filename());
}

} // namespace engine
