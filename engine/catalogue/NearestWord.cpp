#include "engine/catalogue/NearestWord.h"

#include <algorithm>
#include <cctype>
#include <limits>
#include <numeric>
#include <utility>

namespace engine {

namespace {

char Lower(char letter) { return static_cast<char>(std::tolower(static_cast<unsigned char>(letter))); }

/// Levenshtein distance, computed row by row.
std::size_t EditDistance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replaced = diagonal + (Lower(a[i]) == Lower(b[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

} // namespace

std::vector<std::string> NearestWords(std::string_view word, std::span<const std::string> candidates) {
    constexpr std::size_t most = 10;
    std::vector<std::string> nearest;
    std::size_t least = std::numeric_limits<std::size_t>::max();
    for (const std::string& candidate : candidates) {
        const std::size_t distance = EditDistance(word, candidate);
        if (distance < least)
            nearest.clear();
        least = std::min(least, distance);
        const bool isNew = std::find(nearest.begin(), nearest.end(), candidate) == nearest.end();
        if (distance == least && isNew && nearest.size() < most)
            nearest.push_back(candidate);
    }
    return nearest;
}

std::string NearestWord(std::string_view word, std::span<const std::string> candidates) {
    const std::vector<std::string> nearest = NearestWords(word, candidates);
    return !nearest.empty() ? nearest.front() : std::string();
}

std::string NearWord(std::string_view word, std::span<const std::string> candidates) {
    const std::string nearest = NearestWord(word, candidates);
    const std::size_t most = std::min<std::size_t>(2, nearest.size() / 2);
    return EditDistance(word, nearest) <= most ? nearest : std::string();
}

} // namespace engine
