#pragma once

#include <filesystem>

namespace engine {

/// A hidden folder for unfinished files, named ".quillon-partial-" and six more characters. The destructor
/// removes it with its contents.
///
/// The folder stays locked as long as the process that created it runs. A folder whose lock is free was left
/// behind by a killed process; creating a new one next to it removes it. On file systems without locks, only
/// the folder of this object is ever removed.
class CWorkFolder {
public:
    /// Creates the folder in `parent`. Raises `CFileReason` with the system's reason if this fails.
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
