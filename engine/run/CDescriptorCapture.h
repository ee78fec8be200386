#pragma once

#include <string>

namespace engine {

/// Captures everything written to one file descriptor of the process, from construction to `Stop`.
class CDescriptorCapture {
public:
    /// Raises `std::system_error` if a system call fails.
    explicit CDescriptorCapture(int descriptor);
    CDescriptorCapture(const CDescriptorCapture&) = delete;
    CDescriptorCapture& operator=(const CDescriptorCapture&) = delete;
    ~CDescriptorCapture();

    /// Restores the descriptor and keeps the text; further calls have no effect.
    void Stop();

    /// A duplicate of the original descriptor, open as long as this object exists.
    [[nodiscard]] int Original() const { return m_original; }
    /// The captured text; available after `Stop`.
    [[nodiscard]] const std::string& Text() const { return m_text; }

private:
    int m_descriptor;
    int m_original;
    int m_file; // -1 after Stop
    std::string m_text;
};

} // namespace engine
