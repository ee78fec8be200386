#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

namespace quillon {

/// Calls `body` with the constants 0 to count - 1 in order. The loop is always unrolled, so that words stay
/// in registers.
template <std::size_t count, class Body>
constexpr void Unroll(const Body& body) {
    [&]<std::size_t... index>(std::index_sequence<index...>) {
        (body(std::integral_constant<std::size_t, index>()), ...);
    }
    (std::make_index_sequence<count>());
}

} // namespace quillon
