#pragma once

#include "QuillonIo/CCsvOStream.h"

#include <string>

namespace ORVEN {

class CValueMap;

/// Writes the title line of a table whose rows are maps with the same keys: a first title for the column of
/// row keys, then the path of each leaf, all quoted.
class CCsvOStreamValueMapLineariser : private CCsvOStream {
public:
    /// Writes the line including its end. A direct leaf of the map whose key is `firstTitle` is omitted, as
    /// its column already exists.
    CCsvOStreamValueMapLineariser(const CValueMap& map, std::ostream& stream, const std::string& firstTitle,
                                  char separator, char quote);
};

} // namespace ORVEN
