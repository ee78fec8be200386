#pragma once

#include <string>
#include <vector>

namespace cli {

/// The packs to use: those given by --pack, in that order, or else those installed with the program.
std::vector<std::string> PackPaths(const std::vector<std::string>& given);

} // namespace cli
