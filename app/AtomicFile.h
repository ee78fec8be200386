#pragma once

#include <filesystem>
#include <string>

namespace app {

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
    CAtomicFile(const CAtomicFile&) = delete;
    CAtomicFile& operator=(const CAtomicFile&) = delete;
    ~CAtomicFile();

    /// Where to write the file.
    [[nodiscard]] std::string Path() const;
    /// Where to write a companion whose name is that of the file with the ending added.
    [[nodiscard]] std::string CompanionPath(const std::string& ending) const;
    /// Moves everything in place, companions first, and removes a companion of that ending from beside the
    /// target which was not written anew.
    void Commit(const std::string& companionEnding = {});

private:
    void Move(const std::filesystem::path& name) const;

    std::string m_named; // as the user named it, for messages
    std::filesystem::path m_target;
    std::filesystem::path m_folder;
};

/// "cannot write 'PATH': REASON", as one line.
[[noreturn]] void ThrowUnwritable(const std::string& path, const std::string& reason);

/// Writes a text under the name at once. Devices and pipes are simply written to.
void WriteTextFile(const std::string& path, const std::string& text);

} // namespace app
