#pragma once

#include <cstdint>
#include <fstream>
#include <string>
#include <string_view>

namespace engine {

/// The lines of a text header in front of binary data, read one by one and never further than a header can
/// go. What is no text, or does not end, is refused before it takes memory. Raises `CFileError`, "cannot read
/// 'PATH': its header is damaged...".
class CHeaderLines {
public:
    /// `maxTotal` bytes in all lines together, `maxLine` in one of them, but in a line that begins with
    /// `longLine`; empty for no such line.
    CHeaderLines(const std::string& path, std::int64_t maxTotal, std::int64_t maxLine,
                 std::string longLine = {});

    /// The next line, without its end and a carriage return before it; false at the end of the file.
    bool Next(std::string& line);
    /// The place in the file behind the lines read so far.
    [[nodiscard]] std::int64_t Position() const { return m_position; }

private:
    const std::string m_path;
    std::ifstream m_file;
    std::int64_t m_maxTotal;
    std::int64_t m_maxLine;
    std::string m_longLine;
    std::int64_t m_position = 0;
};

} // namespace engine
