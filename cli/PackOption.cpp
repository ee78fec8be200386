#include "cli/PackOption.h"

#include "engine/packs/CPackSet.h"

namespace cli {

std::vector<std::string> PackPaths(const std::vector<std::string>& given) {
    return given.empty() ? engine::CPackSet::DefaultPaths() : given;
}

} // namespace cli
