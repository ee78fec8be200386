#include "cli/PackOption.h"

#include "engine/packs/PackFolders.h"

#include <cstdio>

namespace cli {

engine::CPackSet OpenPacks(const std::vector<std::string>& named) {
    const auto report = [](const std::string& problem) {
        std::fprintf(stderr, "quillon: %s\n", problem.c_str());
    };
    return engine::CPackSet(engine::FindPacks(named, report), report);
}

} // namespace cli
