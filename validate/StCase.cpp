#include "validate/StCase.h"

#include "engine/errors/CEngineError.h"

#include <array>
#include <charconv>

namespace validate {

std::string StCase::Text() const {
    const std::string text = rule + ":" + plugin + ":" + std::to_string(seed);
    return variation.empty() ? text : text + ":" + variation;
}

StCase ParseCase(const std::string& text) {
    const auto refuse = [&text]() -> StCase {
        throw engine::CCallerError(
            "'" + text + "' is not a case; it must be RULE:PLUGIN:SEED or RULE:PLUGIN:SEED:VARIATION");
    };
    std::array<std::string, 3> words;
    std::size_t start = 0;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::size_t end = text.find(':', start);
        const bool isLast = i + 1 == words.size();
        if ((end == std::string::npos && !isLast) || start > text.size())
            return refuse();
        words[i] = text.substr(start, end == std::string::npos ? end : end - start);
        start = end == std::string::npos ? text.size() : end + 1;
    }
    StCase parsed{words[0], words[1], 1, text.substr(start)};
    const char* const last = words[2].data() + words[2].size();
    const auto [position, error] = std::from_chars(words[2].data(), last, parsed.seed);
    if (error != std::errc() || position != last || words[0].empty() || words[1].empty())
        return refuse();
    return parsed;
}

} // namespace validate
