#pragma once

#include <cstdint>
#include <cstring>

namespace ORVEN {

/// Calls `body(x)` for the bytes of a row that are not `common`, ascending. Where there are none, eight bytes
/// are skipped at once.
template <class Body>
void ForEachOther(const std::uint8_t* row, std::int64_t count, std::uint8_t common, const Body& body) {
    constexpr std::int64_t length = sizeof(std::uint64_t);
    const std::uint64_t allCommon = common * std::uint64_t{0x0101010101010101};
    std::int64_t x = 0;
    const auto visit = [&](std::int64_t end) {
        for (; x < end; ++x) {
            if (row[x] != common)
                body(x);
        }
    };
    while (x + length <= count) {
        std::uint64_t bytes = 0;
        std::memcpy(&bytes, row + x, sizeof bytes);
        if (bytes == allCommon)
            x += length;
        else
            visit(x + length);
    }
    visit(count);
}

} // namespace ORVEN
