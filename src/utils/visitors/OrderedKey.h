#pragma once

#include <bit>
#include <cstdint>
#include <type_traits>

namespace ORVEN::visitors {

/// Maps a 32-bit pixel value to a 32-bit unsigned integer with the same order. +0.0 and -0.0 are one value;
/// all NaN are also one value, above +infinity. Positive floats have the order of their bit patterns,
/// negative ones the reverse order.
template <class T>
std::uint32_t OrderedKey(T value) {
    static_assert(std::is_same_v<T, unsigned int> || std::is_same_v<T, float>);
    if constexpr (std::is_same_v<T, float>) {
        constexpr std::uint32_t signBit = 0x80000000U;
        if (value != value)
            return 0xFFFFFFFFU;
        const auto bits = std::bit_cast<std::uint32_t>(value + 0.0F); // -0.0 + 0.0 is +0.0
        return (bits & signBit) != 0 ? ~bits : bits | signBit;
    } else {
        return value;
    }
}

/// Less-than for ordered containers; a total order for floats too.
struct StLessByOrderedKey {
    template <class T>
    bool operator()(T a, T b) const {
        return OrderedKey(a) < OrderedKey(b);
    }
};

} // namespace ORVEN::visitors
