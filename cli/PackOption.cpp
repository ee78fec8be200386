#include "cli/PackOption.h"

#include "engine/packs/PackFolders.h"

#include <cstdio>

namespace cli {

engine::CPackSet OpenPacks(const std::vector<std::string>& named) {
    return engine::CPackSet(engine::FindPacks(named), [](const std::string& problem) {
        std::fprintf(stderr, "quillon: %s\n", problem.c_str());
    });
}

} // namespace cli
