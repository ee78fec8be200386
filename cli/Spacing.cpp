#include "cli/Spacing.h"

#include "cli/Commands.h"
#include "engine/catalogue/ValueKind.h"

#include <cmath>
#include <sstream>
#include <vector>

namespace cli {

using namespace engine;

std::vector<double> ParseSpacing(const std::string& text) {
    std::vector<double> sizes;
    std::istringstream stream(text + ",");
    for (std::string word; std::getline(stream, word, ',');) {
        const auto size = ParseDouble(word);
        if (!size || !std::isfinite(*size) || *size <= 0)
            throw CCommandError(STATUS_USAGE,
                                "--spacing " + text + ": '" + word + "' is not a positive number");
        sizes.push_back(*size);
    }
    if (sizes.size() != 2 && sizes.size() != 3)
        throw CCommandError(STATUS_USAGE,
                            "--spacing " + text +
                                ": give one number for each axis, X,Y for a plane and X,Y,Z for "
                                "a volume");
    return sizes;
}

} // namespace cli
