#pragma once

#include <array>
#include <cstdint>

namespace ORVEN::Impl {

/// A box of pixels, from `first` (included) to `end` (excluded) on each axis.
struct StPixelBox {
    [[nodiscard]] std::int64_t Extent(std::size_t axis) const { return end[axis] - first[axis]; }
    [[nodiscard]] std::int64_t PixelCount() const { return Extent(0) * Extent(1) * Extent(2); }
    [[nodiscard]] bool IsEmpty() const { return Extent(0) <= 0 || Extent(1) <= 0 || Extent(2) <= 0; }

    std::array<std::int64_t, 3> first{};
    std::array<std::int64_t, 3> end{};
};

} // namespace ORVEN::Impl
