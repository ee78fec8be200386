#pragma once

#include <string>

namespace quillon_python {

/// Makes `std::cout` and `std::cerr` obey `CQuietStreams`. Plug-ins print notes there, and one of their lines
/// in the output of a Python script would damage it. Redirecting the descriptors, as the command line does,
/// would take what other Python threads print as well.
void InstallQuietStreams();

/// Keeps what this thread writes to the C++ streams while it exists.
class CQuietStreams {
public:
    CQuietStreams();
    CQuietStreams(const CQuietStreams&) = delete;
    CQuietStreams& operator=(const CQuietStreams&) = delete;
    ~CQuietStreams();

    [[nodiscard]] const std::string& Text() const { return m_text; }

private:
    std::string m_text;
    std::string* m_before;
};

} // namespace quillon_python
