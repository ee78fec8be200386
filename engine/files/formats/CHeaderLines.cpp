#include "engine/files/formats/CHeaderLines.h"

#include "engine/files/FileErrors.h"
#include "engine/files/formats/HeaderChecks.h"

#include <streambuf>
#include <utility>

namespace engine {

CHeaderLines::CHeaderLines(const std::string& path, std::int64_t maxTotal, std::int64_t maxLine,
                           std::string longLine)
    : m_file(path, std::ios::binary)
    , m_maxTotal(maxTotal)
    , m_maxLine(maxLine)
    , m_longLine(std::move(longLine)) {}

bool CHeaderLines::Next(std::string& line) {
    using Traits = std::char_traits<char>;
    line.clear();
    std::streambuf& bytes = *m_file.rdbuf();
    if (!m_file.is_open() || Traits::eq_int_type(bytes.sgetc(), Traits::eof()))
        return false;
    for (auto next = bytes.sbumpc(); !Traits::eq_int_type(next, Traits::eof()); next = bytes.sbumpc()) {
        ++m_position;
        const char c = Traits::to_char_type(next);
        if (c == '\n')
            break;
        if (c == '\0')
            throw CFileReason("its header is damaged: it is not text");
        line += c;
        if (m_position > m_maxTotal)
            throw CFileReason("its header is damaged: it does not end");
        if (std::cmp_greater(line.size(), m_maxLine) && (m_longLine.empty() || !line.starts_with(m_longLine)))
            throw CFileReason("its header is damaged: a line does not end");
    }
    if (line.ends_with('\r'))
        line.pop_back();
    return true;
}

} // namespace engine
