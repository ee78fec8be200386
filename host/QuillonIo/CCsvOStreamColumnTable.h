#pragma once

#include "QuillonIo/CCsvOStream.h"

#include <string>

namespace ORVEN {

class CValueMap;

/// Writes a map as a table of two columns, a line an entry: key and value.
class CCsvOStreamColumnTable : public CCsvOStream {
public:
    /// A map with the titles of its columns.
    struct BindValueMap {
        const CValueMap* map;   ///< null for no entries
        std::string keyTitle;   ///< of the column of keys
        std::string valueTitle; ///< of the column of values
        bool hasTitles;         ///< whether the table begins with the line of titles, quoted
        bool hasPlainNumbers;   ///< whether a key that reads wholly as a number is written without quotes
    };

    using CCsvOStream::CCsvOStream;
    using CCsvOStream::operator<<;

    /// Entries that are containers are left out. The last line has no end: that is the caller's.
    CCsvOStreamColumnTable& operator<<(const BindValueMap& table);

private:
    /// Begins a line of the table, and ends the one before it.
    void BeginLine(bool& isFirst);
};

} // namespace ORVEN
