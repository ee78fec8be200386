#include "AtomicFile.h"

#include "FileError.h"
#include "OutputFile.h"
#include "PartialFolder.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace fs = std::filesystem;

namespace app {

namespace {

bool IsSpecial(const fs::path& path) {
    std::error_code error;
    const auto status = fs::status(path, error);
    return fs::exists(status) && !fs::is_regular_file(status);
}

void WriteText(const std::string& path, const std::string& named, const std::string& text) {
    try {
        COutputFile file(path);
        file.Write(text);
        file.Close();
    } catch (const CFileError& error) {
        ThrowUnwritable(named, error.what());
    }
}

} // namespace

void ThrowUnwritable(const std::string& path, const std::string& reason) {
    throw CFileError("cannot write '" + path + "': " + reason);
}

CAtomicFile::CAtomicFile(const std::string& target)
    : m_named(target)
    , m_target(target) {
    std::error_code error;
    if (fs::is_symlink(m_target, error) && fs::exists(m_target, error))
        m_target = fs::canonical(m_target, error);
    if (IsSpecial(m_target))
        ThrowUnwritable(m_named, "it is no regular file");
    if (!m_target.has_filename())
        ThrowUnwritable(m_named, "it names no file");
    std::string folder = (m_target.parent_path() / ".quillon-partial-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr)
        ThrowUnwritable(m_named, std::strerror(errno));
    m_folder = folder;
    RememberPartialFolder(folder);
}

CAtomicFile::~CAtomicFile() {
    std::error_code error;
    fs::remove_all(m_folder, error);
    ForgetPartialFolder();
}

std::string CAtomicFile::Path() const { return (m_folder / m_target.filename()).string(); }

std::string CAtomicFile::CompanionPath(const std::string& ending) const { return Path() + ending; }

void CAtomicFile::Move(const fs::path& name) const {
    std::error_code error;
    fs::rename(m_folder / name, m_target.parent_path() / name, error);
    if (error)
        ThrowUnwritable(m_named, error.message());
}

void CAtomicFile::Commit(const std::string& companionEnding) {
    std::vector<fs::path> companions;
    for (const auto& entry : fs::directory_iterator(m_folder)) {
        if (entry.path().filename() != m_target.filename())
            companions.push_back(entry.path().filename());
    }
    for (const auto& name : companions)
        Move(name);
    if (const fs::path stale = m_target.filename().string() + companionEnding;
        !companionEnding.empty() &&
        std::find(companions.begin(), companions.end(), stale) == companions.end()) {
        std::error_code error;
        fs::remove(m_target.parent_path() / stale, error);
        if (error)
            ThrowUnwritable(m_named, error.message());
    }
    Move(m_target.filename());
}

void WriteTextFile(const std::string& path, const std::string& text) {
    if (IsSpecial(path)) {
        WriteText(path, path, text);
        return;
    }
    CAtomicFile file(path);
    WriteText(file.Path(), path, text);
    file.Commit();
}

} // namespace app
