#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <charconv>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Checks that every header must pass before pixels are read: a damaged or malicious file must not cause the
// allocation of whatever size it announces. A check that fails raises `CFileReason`.

namespace engine {

/// Upper bound of the Deflate compression ratio: at most 1032 to 1, plus a margin for headers and rounding.
inline constexpr std::int64_t c_maxDeflateRatio = 1040;

/// The size of a regular file in bytes.
std::int64_t FileSize(const std::string& path);

/// The size of an image with these extents, x first. Trailing extents of 1 beyond the third are dropped, and
/// a single extent gives one row. Raises `CFileReason` for no extents, extents below 1, more than three
/// dimensions, and images of more than 2^62 bytes at `bytesPerPixel`.
ORVEN::CSize CheckedSize(std::vector<std::int64_t> extents, std::int64_t bytesPerPixel);

/// Sets the distances of the channels and time points in `header.series` for a file that holds one image
/// after the other: all time points of a channel, or all channels of a time point. Raises `CFileReason` for
/// a number below 1 and for more than 2^62 bytes in all.
void ArrangeImages(StImageHeader& header, bool isTimeFirst);

/// Returns `skip`, the number of bytes before the pixels, if it is small enough for a header of any kind:
/// skipped bytes in packed data must be unpacked. Raises `CFileReason` for more than 256 MiB.
std::int64_t CheckedSkip(std::int64_t skip);

/// Raises `CFileReason` unless `stored` bytes can unpack to `announced` bytes at a ratio of at most `ratio`
/// to 1.
void RequireData(std::int64_t announced, std::int64_t stored, std::int64_t ratio);

/// Raises `CFileReason` for raw data longer than the header announces: one of the two must be wrong.
[[noreturn]] void ThrowSurplus(std::int64_t announced, std::int64_t stored);

/// Raises `CFileReason` if less memory than this is available at the moment.
void RequireMemory(std::int64_t byteCount);

/// The spacing, if all numbers are finite and not zero. A sign gives a direction and is dropped.
std::optional<std::array<double, 3>> CheckedSpacing(std::span<const double> numbers);

/// The shortest decimal text that reads back as exactly this number, in the C locale.
std::string ShortestText(double number);

/// The text without leading and trailing blanks.
std::string_view Trimmed(std::string_view text);

/// Splits the text at blanks.
std::vector<std::string_view> Words(std::string_view text);

/// Parses the whole text as a number, in the C locale; returns nothing if it is not one.
template <class Number>
std::optional<Number> NumberOf(std::string_view text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

/// Parses all words of the text as numbers; returns nothing if one of them is not a number.
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
