#pragma once

#include "engine/files/CWorkFolder.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace engine {

/// Writes a file and its companion files so that they appear under their names only when complete.
///
/// The files are written to a temporary folder next to the target, under their final names, because some
/// libraries go by the extension or write the name into a header. `Commit` moves them into place. Until then,
/// and after any failure, existing files of the same names are untouched; the destructor removes the
/// temporary files. A symbolic link is followed: the file that it points to is replaced. Raises `CFileError`,
/// "cannot write 'PATH': REASON".
class CAtomicFile {
public:
    explicit CAtomicFile(const std::string& target);

    /// The path to write the file to.
    [[nodiscard]] std::string Path() const;
    /// The path to write a companion file to that will have this name next to the target.
    [[nodiscard]] std::string CompanionPath(const std::string& name) const;
    /// Moves all files into place, companions first. Existing files named in `companions` that were not
    /// rewritten are removed.
    void Commit(const std::vector<std::string>& companions = {});

private:
    void Move(const std::filesystem::path& name) const;

    std::string m_named; // as the user named it, for messages
    std::filesystem::path m_target;
    std::optional<CWorkFolder> m_folder;
};

/// The path that a file of this name is actually written to, after following a symbolic link.
std::filesystem::path FollowLink(const std::string& path);

} // namespace engine
