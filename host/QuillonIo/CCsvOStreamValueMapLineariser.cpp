#include "QuillonIo/CCsvOStreamValueMapLineariser.h"

#include <sorblib2core/ForEachLeaf.h>

namespace ORVEN {

CCsvOStreamValueMapLineariser::CCsvOStreamValueMapLineariser(const CValueMap& map, std::ostream& stream,
                                                             const std::string& firstTitle, char separator,
                                                             char quote)
    : CCsvOStream(stream, separator, quote) {
    WriteText(firstTitle);
    ForEachLeaf(&map, {}, [&](const std::string& path, const CValue*) {
        if (path != firstTitle)
            WriteText(path);
    });
    EndLine(std::endl);
}

} // namespace ORVEN
