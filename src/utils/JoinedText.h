#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace ORVEN::Impl {

/// Text joined at compile time. The result lives as long as the program, which the names of locations
/// require, and no thread has to wait for another one to create it.
template <const std::string_view&... parts>
class CJoinedText {
    static constexpr auto characters = [] {
        std::array<char, (parts.size() + ... + 1)> joined{};
        std::size_t end = 0;
        const auto append = [&](std::string_view part) {
            for (const char character : part)
                joined[end++] = character;
        };
        (append(parts), ...);
        return joined;
    }();

public:
    static constexpr std::string_view text{characters.data(), characters.size() - 1};
    /// The text as a null-terminated string.
    static constexpr const char* c_str() { return characters.data(); }
};

} // namespace ORVEN::Impl
