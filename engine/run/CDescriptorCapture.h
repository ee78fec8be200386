#pragma once

#include <string>

namespace engine {

/// Diverts what is written to one file descriptor of the process into memory, from construction to `Stop`.
class CDescriptorCapture {
public:
    /// Raises `std::system_error` if the system refuses.
    explicit CDescriptorCapture(int descriptor);
    CDescriptorCapture(const CDescriptorCapture&) = delete;
    CDescriptorCapture& operator=(const CDescriptorCapture&) = delete;
    ~CDescriptorCapture();

    /// Puts the descriptor back and keeps the text; once is enough.
    void Stop();

    /// Where the descriptor led before; open as long as this object lives.
    [[nodiscard]] int Original() const { return m_original; }
    /// What was written, complete after `Stop`.
    [[nodiscard]] const std::string& Text() const { return m_text; }

private:
    int m_descriptor;
    int m_original;
    int m_file; // -1 after Stop
    std::string m_text;
};

} // namespace engine
