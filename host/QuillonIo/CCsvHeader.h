#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace ORVEN {

class CImage;
class CValue;
class CValueMap;

/// The lines at the head of a table that say where its numbers come from. Each begins with "# ", so that
/// readers of tables take them for comments; a line break inside a text stands as "\n". Nothing is written
/// before `Finish`.
///
///     # "software";"Quillon"
///     # "version";"version 1.0.0"
///     # "parameters"
///     # "filename";"sizes.csv"
class CCsvHeader {
public:
    /// The stream has to outlive this object.
    CCsvHeader(std::ostream& stream, char separator, char quote);

    void AddVersionInformation();
    /// Type, size and all attributes of the image by their paths. Of a measurement only what stands right in
    /// it: tables by object, diameter or grey value are left out.
    void AddImageAttributes(const CImage& image);
    /// The title, then a line for each leaf of the map.
    void AddMap(const std::string& title, const CValueMap& map);

    /// Writes the lines and flushes the stream. Only the first call writes.
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
