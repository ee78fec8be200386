#pragma once

#include <filesystem>
#include <string>

namespace engine {

/// Keeps what stands under a name while somebody who knows only that name writes anew to it. The old file is
/// moved into a hidden folder beside it, ".quillon-kept-" and six more characters, and moved back unless
/// `Release` says that the new one is good; also by an ending signal. After a crash it stays in that folder:
/// nothing but a person can know which of the two files is wanted. Devices, pipes and
/// files that may not be written to are let be.
class CKeptFile {
public:
    /// Raises `CFileError`, "cannot write 'PATH': REASON", if the old file cannot be moved.
    explicit CKeptFile(const std::string& path);
    CKeptFile(const CKeptFile&) = delete;
    CKeptFile& operator=(const CKeptFile&) = delete;
    /// Puts things back if neither `Release` nor `Restore` has been called.
    ~CKeptFile();

    /// Whether there is an old file.
    [[nodiscard]] bool HasOld() const { return !m_kept.empty(); }
    /// The new file stays, with the permissions of the old one, which goes.
    void Release();
    /// The old file is put back; without one, what was begun under its name is removed. Raises `CFileError`
    /// that says where the old file is if it cannot be put back.
    void Restore();

private:
    std::string m_named; // as the user named it, for messages
    std::filesystem::path m_place;
    std::filesystem::path m_folder; // of the old file; empty without one
    std::filesystem::path m_kept;
    bool m_isDecided = false;
};

} // namespace engine
