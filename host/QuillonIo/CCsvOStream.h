#pragma once

#include <ostream>
#include <string_view>

namespace ORVEN {

class CValue;

/// Writes values as fields of a table of text, a line a row.
///
/// A separator stands before each field but the first since construction or since the last line end. So a
/// caller can put the key of a row and a separator straight into the stream before the values.
///
/// Texts stand between quote characters, with those inside doubled. Numbers are written in the shortest form
/// that reads back to the same number, whatever the locale, an integral double below 2^53 without exponent;
/// truth values are "true" and "false"; a pointer is an empty field. A container stands for its leaves, see
/// `ForEachLeaf`; without any it writes nothing. The other writers of this library write fields alike.
///
/// Source of the format: Y. Shafranovich, *Common format and MIME type for CSV files*, RFC 4180, 2005.
class CCsvOStream {
public:
    /// The stream has to outlive this object. Nothing is buffered here.
    CCsvOStream(std::ostream& stream, char separator, char quote);

    CCsvOStream& operator<<(const CValue& value);
    /// For `std::endl`: hands the manipulator to the stream and begins a new line.
    CCsvOStream& operator<<(std::ostream& (*manipulator)(std::ostream&));

protected:
    /// One field that is a text; not quoted if it is to stand as it is.
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
