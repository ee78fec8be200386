#pragma once

#include <filesystem>
#include <string>

namespace engine {

/// Keeps an existing file safe while a plug-in writes a new one directly under the same name. The old file is
/// moved into a hidden folder next to it, named ".quillon-kept-" and six more characters. It is moved back,
/// also when a signal ends the program, unless `Release` is called. After a crash it stays in that folder,
/// because only the user can tell which of the two files is wanted. Devices, pipes and write-protected files
/// are left alone.
class CKeptFile {
public:
    /// Raises `CFileError`, "cannot write 'PATH': REASON", if the old file cannot be moved.
    explicit CKeptFile(const std::string& path);
    CKeptFile(const CKeptFile&) = delete;
    CKeptFile& operator=(const CKeptFile&) = delete;
    /// Restores the old file if neither `Release` nor `Restore` has been called.
    ~CKeptFile();

    /// Whether there was an old file.
    [[nodiscard]] bool HasOld() const { return !m_kept.empty(); }
    /// Keeps the new file, with the permissions of the old one, and deletes the old file.
    void Release();
    /// Moves the old file back. If there was none, removes any partly written file of that name. If the old
    /// file cannot be moved back, raises `CFileError` with its current path.
    void Restore();

private:
    std::string m_named; // as the user named it, for messages
    std::filesystem::path m_place;
    std::filesystem::path m_folder; // holds the old file; empty if there is none
    std::filesystem::path m_kept;
    bool m_isDecided = false;
};

} // namespace engine
