#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace engine {

/// A file that is written sequentially and checks that everything was stored. Every operation raises
/// `CFileReason` with the system's reason on failure.
class COutputFile {
public:
    /// Creates or truncates the file.
    explicit COutputFile(const std::string& path);
    /// Takes ownership of a writable descriptor.
    explicit COutputFile(int descriptor)
        : m_descriptor(descriptor) {}
    COutputFile(const COutputFile&) = delete;
    COutputFile& operator=(const COutputFile&) = delete;
    ~COutputFile();

    void Write(std::string_view bytes);
    /// Writes the concatenated parts as one gzip stream.
    void WriteGzip(std::initializer_list<std::string_view> parts);
    /// Must be called after the last write: some systems report a full disk only then.
    void Close();

private:
    int m_descriptor;
};

} // namespace engine
