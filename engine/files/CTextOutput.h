#pragma once

#include <string>

namespace engine {

/// A text file that will be written later. A device or pipe is opened at once and written to directly, so
/// that a pipe without a reader is reported before long work begins; it stays open until the text is written.
/// A regular file appears only when it is complete. Raises `CFileError`, "cannot write 'PATH': REASON".
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

/// Whether the path exists and is neither a regular file nor a folder.
bool IsDeviceOrPipe(const std::string& path);

/// Writes a text file at once.
void WriteTextFile(const std::string& path, const std::string& text);

} // namespace engine
