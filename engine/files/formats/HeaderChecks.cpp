#include "engine/files/formats/HeaderChecks.h"

#include "engine/files/FileErrors.h"

#include <QuillonBase/AvailableMemory.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>

namespace engine {

namespace {

constexpr std::int64_t c_maxByteCount = std::int64_t{1} << 62;
const char* const c_tooManyPixels = "its header announces more pixels than any machine holds";

std::string Bytes(std::int64_t count) { return std::to_string(count) + (count == 1 ? " byte" : " bytes"); }

} // namespace

std::int64_t FileSize(const std::string& path) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status))
        throw CFileReason(error.message());
    if (!std::filesystem::is_regular_file(status))
        throw CFileReason("it is not a regular file");
    const auto size = std::filesystem::file_size(path, error);
    if (error)
        throw CFileReason(error.message());
    return static_cast<std::int64_t>(size);
}

ORVEN::CSize CheckedSize(std::vector<std::int64_t> extents, std::int64_t bytesPerPixel) {
    while (extents.size() > 3 && extents.back() == 1)
        extents.pop_back();
    if (extents.empty() || extents.size() > 3) {
        throw CFileReason("it has " + std::to_string(extents.size()) +
                          " dimensions; images of 1, 2 and 3 dimensions can be read");
    }
    std::int64_t byteCount = bytesPerPixel;
    for (const std::int64_t extent : extents) {
        if (extent < 1)
            throw CFileReason("its header announces the extent " + std::to_string(extent));
        if (__builtin_mul_overflow(byteCount, extent, &byteCount) || byteCount > c_maxByteCount)
            throw CFileReason(c_tooManyPixels);
    }
    if (extents.size() == 3)
        return {extents[0], extents[1], extents[2]};
    return {extents[0], extents.size() > 1 ? extents[1] : 1};
}

void ArrangeImages(StImageHeader& header, bool isTimeFirst) {
    StSeries& series = header.series;
    std::int64_t byteCount = header.ByteCount();
    for (const std::int64_t count : {series.channels, series.times}) {
        if (count < 1)
            throw CFileReason("its header announces the extent " + std::to_string(count));
        if (__builtin_mul_overflow(byteCount, count, &byteCount) || byteCount > c_maxByteCount)
            throw CFileReason(c_tooManyPixels);
    }
    const std::int64_t planes = header.size.Dim() > 2 ? header.size.z : 1;
    series.timeDistance = planes * (isTimeFirst ? 1 : series.channels);
    series.channelDistance = planes * (isTimeFirst ? series.times : 1);
}

std::int64_t CheckedSkip(std::int64_t skip) {
    constexpr std::int64_t maxSkip = std::int64_t{1} << 28;
    if (skip > maxSkip)
        throw CFileReason("its header announces " + Bytes(skip) + " before the pixels");
    return skip;
}

void RequireData(std::int64_t announced, std::int64_t stored, std::int64_t ratio) {
    stored = std::max<std::int64_t>(stored, 0);
    const std::int64_t needed = announced / ratio + (announced % ratio != 0 ? 1 : 0);
    if (needed > stored) {
        throw CFileReason("its header announces " + Bytes(announced) + " of pixels, but the file has only " +
                          Bytes(stored) + " of data");
    }
}

void ThrowSurplus(std::int64_t announced, std::int64_t stored) {
    throw CFileReason("its header announces " + Bytes(announced) + " of pixels, but the file has " +
                      Bytes(stored) + " of data");
}

void RequireMemory(std::int64_t byteCount) {
    const auto available = ORVEN::AvailableMemory();
    if (available && byteCount > *available) {
        throw CFileReason("it needs " + Bytes(byteCount) + " of memory, but only " + Bytes(*available) +
                              " are available",
                          EnFault::MACHINE);
    }
}

std::optional<std::array<double, 3>> CheckedSpacing(std::span<const double> numbers) {
    std::array<double, 3> spacing = {1, 1, 1};
    if (numbers.empty())
        return std::nullopt;
    for (std::size_t axis = 0; axis < std::min<std::size_t>(numbers.size(), 3); ++axis) {
        if (!std::isfinite(numbers[axis]) || numbers[axis] == 0)
            return std::nullopt;
        spacing[axis] = std::abs(numbers[axis]);
    }
    return spacing;
}

std::string ShortestText(double number) {
    std::array<char, 32> text{};
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
}

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n\v\f";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::vector<std::string_view> Words(std::string_view text) {
    std::vector<std::string_view> words;
    for (text = Trimmed(text); !text.empty(); text = Trimmed(text)) {
        const auto end = std::min(text.find_first_of(" \t\r\n\v\f"), text.size());
        words.push_back(text.substr(0, end));
        text.remove_prefix(end);
    }
    return words;
}

} // namespace engine
