#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace engine {

/// A file that is written from beginning to end and notices when not all could be stored. Every operation
/// raises `CFileError` and the system's reason; the path is for the caller to
/// add.
class COutputFile {
public:
    /// Makes the file or empties it.
    explicit COutputFile(const std::string& path);
    /// Takes over a descriptor that can be written to.
    explicit COutputFile(int descriptor)
        : m_descriptor(descriptor) {}
    COutputFile(const COutputFile&) = delete;
    COutputFile& operator=(const COutputFile&) = delete;
    ~COutputFile();

    void Write(std::string_view bytes);
    /// Writes the parts, one behind the other, as one stream of gzip data.
    void WriteGzip(std::initializer_list<std::string_view> parts);
    /// To be called when all is written: some systems tell of a full disk only now.
    void Close();

private:
    int m_descriptor;
};

} // namespace engine
