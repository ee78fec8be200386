#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace engine {

/// The candidates most similar to the word, for suggestions after a typing error: those with the smallest
/// number of letters changed, added or left out, ignoring case. Each is listed once, in the order of the
/// candidates, and at most ten are. Empty without candidates.
std::vector<std::string> NearestWords(std::string_view word, std::span<const std::string> candidates);

/// The first of them; empty without candidates.
std::string NearestWord(std::string_view word, std::span<const std::string> candidates);

/// The most similar candidate if it is likely to be what was meant: at most two letters differ, and no more
/// than half of its letters. Empty otherwise.
std::string NearWord(std::string_view word, std::span<const std::string> candidates);

} // namespace engine
