#include "engine/files/CKeptFile.h"

#include "engine/files/CAtomicFile.h"
#include "engine/files/CTextOutput.h"
#include "engine/files/EndingSignals.h"
#include "engine/files/FileErrors.h"
#include "engine/files/UnfinishedFiles.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace fs = std::filesystem;

namespace engine {

namespace {

/// Whether the file exists and is write-protected: writing to it will fail, so nothing can be lost.
bool IsProtected(const fs::path& path) {
    return access(path.c_str(), F_OK) == 0 && access(path.c_str(), W_OK) != 0;
}

} // namespace

CKeptFile::CKeptFile(const std::string& path)
    : m_named(path)
    , m_place(FollowLink(path))
    , m_isDecided(IsDeviceOrPipe(path) || IsProtected(m_place)) {
    if (m_isDecided)
        return;
    const CEndingSignalsBlock block; // no signal may arrive between moving and registering
    std::error_code error;
    if (fs::is_regular_file(m_place, error)) {
        std::string folder = (m_place.parent_path() / ".quillon-kept-XXXXXX").string();
        if (mkdtemp(folder.data()) == nullptr)
            ThrowUnwritable(m_named, std::string("the old file cannot be kept: ") + std::strerror(errno));
        m_folder = folder;
        m_kept = m_folder / m_place.filename();
        fs::rename(m_place, m_kept, error);
        if (error) {
            std::error_code ignored;
            fs::remove(m_folder, ignored);
            ThrowUnwritable(m_named, "the old file cannot be kept: " + error.message());
        }
    }
    RememberKeptFile(m_folder, m_kept, m_place);
}

CKeptFile::~CKeptFile() {
    try {
        if (!m_isDecided)
            Restore();
    } catch (const CFileError&) {
        // The old file is not lost: it stays in its folder.
    }
}

void CKeptFile::Release() {
    if (m_isDecided)
        return;
    m_isDecided = true;
    const CEndingSignalsBlock block;
    ForgetKeptFile();
    if (!HasOld())
        return;
    std::error_code ignored;
    fs::permissions(m_place, fs::status(m_kept, ignored).permissions(), ignored);
    fs::remove_all(m_folder, ignored);
}

void CKeptFile::Restore() {
    if (m_isDecided)
        return;
    m_isDecided = true;
    const CEndingSignalsBlock block;
    ForgetKeptFile();
    std::error_code error;
    if (!HasOld()) {
        fs::remove(m_place, error);
        return;
    }
    fs::rename(m_kept, m_place, error);
    if (error)
        throw CFileError("the old '" + m_named + "' is '" + m_kept.string() + "' now: " + error.message());
    fs::remove(m_folder, error);
}

} // namespace engine
