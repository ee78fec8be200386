#pragma once

#include "engine/run/CDescriptorCapture.h"

namespace engine {

/// Keeps what is written to standard output and standard error, by whatever library and language, from its
/// construction to `Stop`, so that a pack's chatter does not mix with the program's own words.
class COutputCapture {
public:
    COutputCapture();
    COutputCapture(const COutputCapture&) = delete;
    COutputCapture& operator=(const COutputCapture&) = delete;
    ~COutputCapture();

    /// Both streams are the program's own again; once is enough.
    void Stop();

    /// What was written, complete after `Stop`.
    [[nodiscard]] const std::string& StandardOutput() const { return m_output.Text(); }
    [[nodiscard]] const std::string& StandardError() const { return m_error.Text(); }
    /// The program's own standard error, to draw a progress bar on.
    [[nodiscard]] int RealStandardError() const { return m_error.Original(); }

private:
    CDescriptorCapture m_output;
    CDescriptorCapture m_error;
};

} // namespace engine
