#pragma once

#include <array>
#include <cstdint>

namespace engine {

/// The part of an image that is read: the index of its first pixel along x, y and z, and its extents.
struct StReadBox {
    std::array<std::int64_t, 3> first{};
    std::array<std::int64_t, 3> extents{1, 1, 1};
};

} // namespace engine
