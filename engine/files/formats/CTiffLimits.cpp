#include "engine/files/formats/CTiffLimits.h"

#include "engine/files/FileErrors.h"
#include "engine/files/formats/HeaderChecks.h"

#include <algorithm>
#include <array>
#include <fstream>

namespace engine {

namespace {

std::int64_t StripCount(TIFF* tiff) {
    return TIFFIsTiled(tiff) != 0 ? TIFFNumberOfTiles(tiff) : TIFFNumberOfStrips(tiff);
}

} // namespace

CTiffLimits::CTiffLimits(const std::string& path, std::int64_t fileSize)
    : m_path(path)
    , m_fileSize(fileSize) {}

void CTiffLimits::CountDirectory(TIFF* tiff) {
    const auto start = static_cast<std::int64_t>(TIFFCurrentDirOffset(tiff));
    std::ifstream file(m_path, std::ios::binary);
    std::array<unsigned char, 8> bytes{};
    const bool isBig = TIFFIsBigTIFF(tiff) != 0;
    const std::streamsize countSize = isBig ? 8 : 2;
    file.seekg(start);
    file.read(reinterpret_cast<char*>(bytes.data()), countSize);
    std::int64_t entries = 0;
    for (std::streamsize i = 0; i < countSize; ++i) {
        const auto place = TIFFIsBigEndian(tiff) != 0 ? i : countSize - 1 - i;
        entries = entries << 8 | bytes[static_cast<std::size_t>(place)];
    }
    const std::int64_t entrySize = isBig ? 20 : 12;
    const std::int64_t linkSize = isBig ? 8 : 4;
    if (!file || entries < 0 || entries > m_fileSize ||
        start + countSize + entries * entrySize + linkSize > m_fileSize)
        throw CFileReason("it ends too early");
    m_directoryBytes += countSize + entries * entrySize + linkSize;
    if (m_directoryBytes > m_fileSize)
        throw CFileReason("it is damaged: its pages overlap");
    m_stripCount += StripCount(tiff);
    constexpr std::int64_t bytesPerStrip = 4; // minimum in the tables of offsets and lengths
    if (m_stripCount > m_fileSize / bytesPerStrip)
        throw CFileReason("its header announces more strips than it can hold");
}

void CTiffLimits::CountPixels(TIFF* tiff, std::int64_t pixelBytes, std::int64_t ratio) {
    const std::int64_t count = StripCount(tiff);
    std::int64_t stored = 0;
    for (std::int64_t i = 0; i < count; ++i) {
        const std::uint64_t offset = TIFFGetStrileOffset(tiff, static_cast<std::uint32_t>(i));
        const std::uint64_t length = TIFFGetStrileByteCount(tiff, static_cast<std::uint32_t>(i));
        const auto end = static_cast<std::uint64_t>(m_fileSize);
        if (offset > end || length > end - offset)
            throw CFileReason("it ends too early");
        stored += static_cast<std::int64_t>(length);
        const auto begin = static_cast<std::int64_t>(offset);
        if (!m_strips.empty() && m_strips.back().end == begin)
            m_strips.back().end += static_cast<std::int64_t>(length);
        else
            m_strips.push_back({begin, begin + static_cast<std::int64_t>(length)});
    }
    RequireData(pixelBytes, stored, ratio);
    m_stripBytes += stored;
    m_pixelBytes += pixelBytes;
    m_neededBytes += pixelBytes / ratio;
}

std::int64_t CTiffLimits::CoveredBytes() {
    std::sort(m_strips.begin(), m_strips.end(),
              [](const StRange& left, const StRange& right) { return left.begin < right.begin; });
    std::int64_t covered = 0;
    std::int64_t end = 0;
    for (const StRange& strip : m_strips) {
        covered += std::max<std::int64_t>(strip.end - std::max(strip.begin, end), 0);
        end = std::max(end, strip.end);
    }
    return covered;
}

void CTiffLimits::RequirePixelData() {
    if (m_neededBytes > CoveredBytes())
        throw CFileReason("its header announces " + std::to_string(m_pixelBytes) +
                          " bytes of pixels, but its strips overlap");
    // Bytes shared by several strips are read once for each of them.
    if (m_stripBytes > m_fileSize + m_pixelBytes)
        throw CFileReason("it is damaged: its strips overlap");
}

} // namespace engine
