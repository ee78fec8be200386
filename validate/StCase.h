#pragma once

#include <cstdint>
#include <string>

namespace validate {

/// One check that can be repeated: RULE:PLUGIN:SEED, or RULE:PLUGIN:SEED:VARIATION for a part of it, such as
/// `image.small-extents:GaussFilter:1:grey8 0x2x1`. For a rule about a library, the plug-in is the pack's
/// name.
struct StCase {
    std::string rule;
    std::string plugin;
    std::uint32_t seed = 1;
    std::string variation; ///< empty: all of them

    [[nodiscard]] std::string Text() const;
};

/// Parses the text of a case. Raises `engine::CCallerError` if it is not one.
StCase ParseCase(const std::string& text);

} // namespace validate
