#pragma once

#include "QuillonIo/CCsvOStream.h"

#include <string>

namespace ORVEN {

class CValueMap;

/// Writes the line of column titles for rows that are maps of the same keys: a first title for the column of
/// row keys, then the path of each leaf, all quoted.
class CCsvOStreamValueMapLineariser : private CCsvOStream {
public:
    /// Writes the line, with its end. A leaf right in the map whose key is the first title is left out: the
    /// column is there already.
    CCsvOStreamValueMapLineariser(const CValueMap& map, std::ostream& stream, const std::string& firstTitle,
                                  char separator, char quote);
};

} // namespace ORVEN
