#pragma once

#include <string>

namespace engine {

/// A text file that is to be written later. A device or a pipe is opened at once and written to as it stands,
/// so that one which nobody reads is found out before long work; a pipe stays open until it is written. Any
/// other file appears when it is complete. Raises `CFileError`, "cannot write 'PATH': REASON".
class CTextOutput {
public:
    explicit CTextOutput(std::string path);
    CTextOutput(const CTextOutput&) = delete;
    CTextOutput& operator=(const CTextOutput&) = delete;
    ~CTextOutput();

    void Write(const std::string& text);

private:
    std::string m_path;
    int m_special = -1; // the descriptor of a device or pipe
};

/// Whether something stands at the path that is neither a file nor a folder.
bool IsDeviceOrPipe(const std::string& path);

/// Writes a text under the name at once.
void WriteTextFile(const std::string& path, const std::string& text);

} // namespace engine
