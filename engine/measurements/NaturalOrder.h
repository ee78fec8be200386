#pragma once

#include <string_view>

namespace engine {

/// Whether `a` comes before `b` as people sort names: runs of digits count as numbers, so that "slice 9"
/// comes before "slice 10".
bool NaturallyLess(std::string_view a, std::string_view b);

} // namespace engine
