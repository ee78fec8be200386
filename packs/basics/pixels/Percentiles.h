#pragma once

#include <QuillonBase/IProgress.h>
#include <sorblib2image/CImage.h>

#include <bit>
#include <cstdint>
#include <type_traits>
#include <vector>

namespace quillon::basics {

/// A number whose order is that of the pixel values. NaN becomes 0, the least; no other value does.
template <class T>
[[nodiscard]] std::uint32_t OrderedKey(T pixel) {
    if constexpr (std::is_same_v<T, float>) {
        if (pixel != pixel)
            return 0;
        constexpr std::uint32_t sign = 0x80000000U;
        const auto bits = std::bit_cast<std::uint32_t>(pixel + 0.0F); // both zeros are one value
        return (bits & sign) != 0 ? ~bits : bits | sign;
    } else {
        return pixel;
    }
}

/// The inverse of `OrderedKey`.
template <class T>
[[nodiscard]] T OfOrderedKey(std::uint32_t key) {
    if constexpr (std::is_same_v<T, float>) {
        constexpr std::uint32_t sign = 0x80000000U;
        return std::bit_cast<float>((key & sign) != 0 ? key & ~sign : ~key);
    } else {
        return static_cast<T>(key);
    }
}

/// The percentiles of the pixel values, for percentages from 0 to 100 in any order. NaN is not counted. A
/// percentile between two values is interpolated linearly: p % of n values lie at rank (n - 1) p / 100. Empty
/// if there are no numbers, or after a cancelled run.
///
/// Exact: the pixels are counted by the leading halves of their keys, and those near a percentile by the
/// trailing ones. Time: two passes. Memory: 512 kB for each percentage.
[[nodiscard]] std::vector<double>
Percentiles(const ORVEN::CImage& image, const std::vector<double>& percentages, ORVEN::IProgress& progress);

} // namespace quillon::basics
