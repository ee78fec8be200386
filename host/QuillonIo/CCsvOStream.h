#pragma once

#include <ostream>
#include <string_view>

namespace ORVEN {

class CValue;

/// Writes values as fields of a text table, one line per row.
///
/// A separator precedes each field except the first one after construction or after a line end. A caller can
/// therefore write the key of a row and a separator directly to the stream before the values.
///
/// Texts are enclosed in quote characters, and quote characters inside them are doubled. Numbers are written
/// in the shortest form that reads back as the same number, in any locale; integral doubles below 2^53 have
/// no exponent. Booleans are written as "true" and "false", pointers as empty fields. A container is written
/// as its leaves, see `ForEachLeaf`; without leaves nothing is written. The other writers of this library use
/// the same format.
///
/// Source of the format: Y. Shafranovich, *Common format and MIME type for CSV files*, RFC 4180, 2005.
class CCsvOStream {
public:
    /// `stream` must outlive this object. Output is not buffered here.
    CCsvOStream(std::ostream& stream, char separator, char quote);

    CCsvOStream& operator<<(const CValue& value);
    /// Intended for `std::endl`: passes the manipulator to the stream and begins a new line.
    CCsvOStream& operator<<(std::ostream& (*manipulator)(std::ostream&));

protected:
    /// Writes one field that is a text, literally unless `isQuoted`.
    void WriteText(std::string_view text, bool isQuoted = true);
    void WriteLeaf(const CValue* leaf);
    void EndLine(std::ostream& (*manipulator)(std::ostream&));

private:
    void BeginField();

    std::ostream& m_stream;
    char m_separator;
    char m_quote;
    bool m_hasField = false; // on this line
};

} // namespace ORVEN
