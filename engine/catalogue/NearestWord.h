#pragma once

#include <span>
#include <string>
#include <string_view>

namespace engine {

/// The candidate most similar to the word, for suggestions after a typing error: the one with the smallest
/// number of letters changed, added or left out, ignoring case. Returns the first of several equally similar
/// ones, and an empty string without candidates.
std::string NearestWord(std::string_view word, std::span<const std::string> candidates);

} // namespace engine
