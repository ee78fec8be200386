#pragma once

#include <cstdint>
#include <cstring>

namespace ORVEN {

/// Calls `body(x)` for the bytes of a row that differ from `value`, ascending. Eight bytes that have it are
/// skipped at once.
template <class Body>
void ForEachByteExcept(const std::uint8_t* row, std::int64_t count, std::uint8_t value, const Body& body) {
    constexpr std::int64_t length = sizeof(std::uint64_t);
    const std::uint64_t allEqual = value * std::uint64_t{0x0101010101010101};
    std::int64_t x = 0;
    const auto visit = [&](std::int64_t end) {
        for (; x < end; ++x) {
            if (row[x] != value)
                body(x);
        }
    };
    while (x + length <= count) {
        std::uint64_t bytes = 0;
        std::memcpy(&bytes, row + x, sizeof bytes);
        if (bytes == allEqual)
            x += length;
        else
            visit(x + length);
    }
    visit(count);
}

} // namespace ORVEN
