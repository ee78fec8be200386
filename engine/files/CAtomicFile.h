#pragma once

#include "engine/files/CWorkFolder.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace engine {

/// A file, with others that belong to it, that appears under its name only when it is complete.
///
/// They are written into a folder of their own beside the target, under their final names (so that a library
/// that goes by the extension, or writes a name into a header, needs to know nothing), and moved by `Commit`.
/// Until then, and after any failure, what stands under the names is untouched; the destructor removes the
/// rest. A symbolic link is followed: the file that it leads to is replaced. Raises `CFileError`,
/// "cannot write 'PATH': REASON".
class CAtomicFile {
public:
    explicit CAtomicFile(const std::string& target);

    /// Where to write the file.
    [[nodiscard]] std::string Path() const;
    /// Where to write a companion that is to have this name beside the target.
    [[nodiscard]] std::string CompanionPath(const std::string& name) const;
    /// Moves everything in place, companions first. Those of `companions` that stand beside the target from
    /// before and were not written anew are removed.
    void Commit(const std::vector<std::string>& companions = {});

private:
    void Move(const std::filesystem::path& name) const;

    std::string m_named; // as the user named it, for messages
    std::filesystem::path m_target;
    std::optional<CWorkFolder> m_folder;
};

/// Where a file of that name is really written: a symbolic link leads to another place.
std::filesystem::path FollowLink(const std::string& path);

/// "cannot write 'PATH': REASON", as one line.
[[noreturn]] void ThrowUnwritable(const std::string& path, const std::string& reason);

} // namespace engine
