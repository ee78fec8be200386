#pragma once

#include <optional>
#include <string_view>

namespace quillon::basics {

/// Which pixels are adjacent: those that share a face (6 in a volume, 4 in a plane), or all around (26 and
/// 8).
enum class EnNeighborhood { N6, N26 };

/// The neighbourhood of that name.
[[nodiscard]] inline std::optional<EnNeighborhood> NeighborhoodOf(std::string_view name) {
    if (name == "N6")
        return EnNeighborhood::N6;
    if (name == "N26")
        return EnNeighborhood::N26;
    return std::nullopt;
}

[[nodiscard]] inline const char* NameOf(EnNeighborhood neighborhood) {
    return neighborhood == EnNeighborhood::N6 ? "N6" : "N26";
}

} // namespace quillon::basics
