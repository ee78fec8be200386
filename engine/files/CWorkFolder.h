#pragma once

#include <filesystem>

namespace engine {

/// A hidden folder, ".quillon-partial-" and six more characters, for files that are not finished. It is
/// removed with what is in it when this object goes.
///
/// The folder is locked for as long as the process that made it lives. One whose lock is free was left behind
/// by a program that was killed; making a new one beside it removes it. On file systems without locks nothing
/// is removed but the own folder.
class CWorkFolder {
public:
    /// Makes the folder in `parent`. Raises `CFileError` with the system's reason if it cannot.
    explicit CWorkFolder(const std::filesystem::path& parent);
    CWorkFolder(const CWorkFolder&) = delete;
    CWorkFolder& operator=(const CWorkFolder&) = delete;
    ~CWorkFolder();

    [[nodiscard]] const std::filesystem::path& Path() const { return m_path; }

private:
    std::filesystem::path m_path;
    int m_lock = -1; // a descriptor of the folder
};

} // namespace engine
