#include "cli/Spacing.h"

#include "cli/Commands.h"
#include "engine/catalogue/ValueKind.h"

#include <cmath>
#include <sstream>
#include <vector>

namespace cli {

using namespace engine;

std::array<double, 3> ParseSpacing(const std::string& text) {
    std::vector<double> sizes;
    std::istringstream stream(text + ",");
    for (std::string word; std::getline(stream, word, ',');) {
        const auto size = ParseDouble(word);
        if (!size || !std::isfinite(*size) || *size <= 0)
            throw CCommandError(STATUS_USAGE,
                                "spacing '" + text + "': '" + word + "' is not a positive number");
        sizes.push_back(*size);
    }
    if (sizes.size() == 2)
        sizes.push_back(1);
    if (sizes.size() != 3)
        throw CCommandError(STATUS_USAGE, "spacing '" + text + "' is not of the form x,y,z");
    return {sizes[0], sizes[1], sizes[2]};
}

} // namespace cli
