#pragma once

#include "QuillonIo/CCsvOStream.h"

#include <string>

namespace ORVEN {

class CValueMap;

/// Writes a map as a table with two columns, key and value, one line per entry.
class CCsvOStreamColumnTable : public CCsvOStream {
public:
    /// A map and the titles of its columns.
    struct BindValueMap {
        const CValueMap* map;   ///< null means no entries
        std::string keyTitle;   ///< title of the key column
        std::string valueTitle; ///< title of the value column
        bool hasTitles;         ///< whether the table begins with a line of quoted titles
        bool hasPlainNumbers;   ///< whether a key that is a number is written without quotes
    };

    using CCsvOStream::CCsvOStream;
    using CCsvOStream::operator<<;

    /// Writes the table. Entries that are containers are omitted. The last line is not terminated; the caller
    /// does that.
    CCsvOStreamColumnTable& operator<<(const BindValueMap& table);

private:
    /// Ends the previous line, if any, and begins a new one.
    void BeginLine(bool& isFirst);
};

} // namespace ORVEN
