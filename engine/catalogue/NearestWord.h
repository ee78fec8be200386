#pragma once

#include <span>
#include <string>
#include <string_view>

namespace engine {

/// The candidate that the word was most likely meant to be: the one with the fewest letters changed, added or
/// left out, capitals not counting. The first of equals; empty without candidates.
std::string NearestWord(std::string_view word, std::span<const std::string> candidates);

} // namespace engine
