#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <charconv>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// What every header goes through before pixels are read by it: a damaged or hostile file must not make us
// allocate what it announces.

namespace engine {

/// Deflate makes at most 1032 bytes out of one; a little above it, for headers and rounding.
inline constexpr std::int64_t g_maxDeflateRatio = 1040;

/// Raises `CFileError` with the one line "cannot read 'PATH': REASON".
[[noreturn]] void ThrowUnreadable(const std::string& path, const std::string& reason);

/// The length of a regular file; raises if the path is none.
std::int64_t FileSize(const std::string& path);

/// The size of an image with these extents, x first: trailing extents of 1 beyond the third are dropped, and
/// a single extent is one row. Raises for no extents, extents below 1, more than three dimensions, and for
/// more bytes (of `bytesPerPixel`) than 2^62.
ORVEN::CSize CheckedSize(const std::string& path, std::vector<std::int64_t> extents,
                         std::int64_t bytesPerPixel);

/// The bytes to be passed over before the pixels, if they are few enough to be a header of any kind: in
/// packed data they have to be unpacked. Raises for more than 256 MiB.
std::int64_t CheckedSkip(const std::string& path, std::int64_t skip);

/// Raises unless `stored` bytes of the file can unpack to the `announced` ones at no more than `ratio` to 1.
void RequireData(const std::string& path, std::int64_t announced, std::int64_t stored, std::int64_t ratio);

/// Raises for raw data of which the header announces only a part: one of both is wrong.
[[noreturn]] void ThrowSurplus(const std::string& path, std::int64_t announced, std::int64_t stored);

/// Raises if the machine has no such amount of memory to give away right now.
void RequireMemory(const std::string& path, std::int64_t byteCount);

/// The spacing if all numbers are finite and not zero (a sign tells a direction, which is not kept).
std::optional<std::array<double, 3>> CheckedSpacing(std::span<const double> numbers);

/// The shortest decimal text that reads back as this very number, in the C locale.
std::string ShortestText(double number);

/// The text without blanks around it.
std::string_view Trimmed(std::string_view text);

/// The words between blanks.
std::vector<std::string_view> Words(std::string_view text);

/// The number that the whole text tells, in the C locale.
template <class Number>
std::optional<Number> NumberOf(std::string_view text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

/// The numbers that all words of the text tell; nothing if one of them tells none.
template <class Number>
std::optional<std::vector<Number>> NumbersOf(std::string_view text) {
    std::vector<Number> numbers;
    for (const std::string_view word : Words(text)) {
        const auto number = NumberOf<Number>(word);
        if (!number)
            return std::nullopt;
        numbers.push_back(*number);
    }
    return numbers;
}

} // namespace engine
