#pragma once

#include <cstdint>
#include <fstream>
#include <string>
#include <string_view>

namespace engine {

/// Reads the lines of a text header in front of binary data, one at a time and within the size limits of a
/// header. A header that is not text or does not end is refused before it takes much memory. Raises
/// `CFileReason`, "its header is damaged...".
class CHeaderLines {
public:
    /// `maxTotal` limits the bytes of all lines together, `maxLine` those of one line, except for a line that
    /// begins with `longLine`; if that is empty, there is no exception.
    CHeaderLines(const std::string& path, std::int64_t maxTotal, std::int64_t maxLine,
                 std::string longLine = {});

    /// Reads the next line, without its line end (line feed, or carriage return and line feed). Returns false
    /// at the end of the file.
    bool Next(std::string& line);
    /// The position in the file after the lines read so far.
    [[nodiscard]] std::int64_t Position() const { return m_position; }

private:
    std::ifstream m_file;
    std::int64_t m_maxTotal;
    std::int64_t m_maxLine;
    std::string m_longLine;
    std::int64_t m_position = 0;
};

} // namespace engine
