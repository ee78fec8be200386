#pragma once

#include <cstdint>
#include <cstring>

namespace ORVEN {

/// One bit for each byte of a word that is odd; bit i is that of byte i.
inline std::uint64_t PackBits(std::uint64_t bytes) {
    // Moves the lowest bit of each byte into the highest byte.
    return (bytes & 0x0101010101010101U) * 0x0102040810204080U >> 56;
}

/// The same for 64 bytes.
inline std::uint64_t PackBits(const std::uint8_t* bytes) {
    std::uint64_t bits = 0;
    for (int i = 0; i < 64; i += 8) {
        std::uint64_t eight = 0;
        std::memcpy(&eight, bytes + i, sizeof(eight));
        bits |= PackBits(eight) << i;
    }
    return bits;
}

} // namespace ORVEN
