#pragma once

#include "engine/run/CDescriptorCapture.h"

namespace engine {

/// Captures standard output and standard error, from any library and language, from construction to `Stop`,
/// so that a pack's output does not mix with the program's own.
class COutputCapture {
public:
    COutputCapture();
    COutputCapture(const COutputCapture&) = delete;
    COutputCapture& operator=(const COutputCapture&) = delete;
    ~COutputCapture();

    /// Restores both streams; further calls have no effect.
    void Stop();

    /// The captured text; available after `Stop`.
    [[nodiscard]] const std::string& StandardOutput() const { return m_output.Text(); }
    [[nodiscard]] const std::string& StandardError() const { return m_error.Text(); }
    /// The program's own standard error, to draw a progress bar on.
    [[nodiscard]] int RealStandardError() const { return m_error.Original(); }

private:
    CDescriptorCapture m_output;
    CDescriptorCapture m_error;
};

} // namespace engine
