#pragma once

#include <bit>
#include <cstdint>
#include <type_traits>

namespace ORVEN::visitors {

/// A 32-bit whole number for a 32-bit pixel value, in the order of the values. +0.0 and -0.0 are one value;
/// all NaN are one value too, above +infinity. A positive float has the order of its bits, a negative one the
/// reverse.
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

/// The order of the values for containers: less-than, and total for floats.
struct StLessByOrderedKey {
    template <class T>
    bool operator()(T a, T b) const {
        return OrderedKey(a) < OrderedKey(b);
    }
};

} // namespace ORVEN::visitors
