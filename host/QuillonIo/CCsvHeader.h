#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace ORVEN {

class CImage;
class CValue;
class CValueMap;

/// The comment lines at the top of a table that describe where its numbers come from. Each begins with "# ",
/// so that programs that read tables skip it. A line break inside a text is written as "\n". Nothing is
/// written before `Finish`.
///
///     # "software";"Quillon"
///     # "version";"version 1.0.0"
///     # "parameters"
///     # "filename";"sizes.csv"
class CCsvHeader {
public:
    /// `stream` must outlive this object.
    CCsvHeader(std::ostream& stream, char separator, char quote);

    void AddVersionInformation();
    /// Adds type, size and all attributes of the image with their paths. Of a measurement, only its direct
    /// entries are added: tables by object, diameter or grey value are omitted.
    void AddImageAttributes(const CImage& image);
    /// Adds the title and one line for each leaf of the map.
    void AddMap(const std::string& title, const CValueMap& map);

    /// Writes the lines and flushes the stream. Only the first call has an effect.
    void Finish();

private:
    void AddLine(const std::string& title, const CValue* value);
    void AddTitle(const std::string& title);

    std::ostream& m_stream;
    char m_separator;
    char m_quote;
    std::vector<std::string> m_lines;
    bool m_isFinished = false;
};

} // namespace ORVEN
