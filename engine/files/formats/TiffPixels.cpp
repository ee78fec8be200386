#include "engine/files/FileErrors.h"
#include "engine/files/formats/CTiff.h"
#include "engine/files/formats/HeaderChecks.h"
#include "engine/files/formats/TiffFile.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace engine {

namespace {

/// Whether the pixels have to be inverted to be greater where the image is brighter.
///
/// A common library for Python, tifffile, writes truth values as "white is zero" with 1 for true, and reads
/// them without regard to it: there, 1 means the object.
bool IsInverted(const CTiff& tiff, const StPage& page) {
    if (page.photometric != PHOTOMETRIC_MINISWHITE)
        return false;
    return page.bits > 1 || !tiff.Text(TIFFTAG_SOFTWARE).starts_with("tifffile");
}

/// Reads the packed rows of the current page of the file.
class CPageReader {
public:
    /// `separateSample` chooses one if the samples of a pixel are not adjacent.
    CPageReader(const CTiff& tiff, const StPage& page, int separateSample)
        : m_tiff(tiff)
        , m_page(page)
        , m_separateSample(static_cast<std::uint32_t>(separateSample))
        , m_rowBytes(PackedRowBytes(page)) {}

    /// Reads at least the rows from `first` to `last` to their places among all rows of the page.
    void Read(unsigned char* rows, std::int64_t first, std::int64_t last) {
        m_firstRow = first;
        m_lastRow = last;
        if (TIFFIsTiled(m_tiff.Get()) != 0)
            ReadTiles(rows);
        else
            ReadStrips(rows);
    }

private:
    void Require(tmsize_t count, std::int64_t expected) const {
        if (count < 0 || static_cast<std::int64_t>(count) != expected)
            throw CFileReason(m_tiff.Error());
    }

    void ReadStrips(unsigned char* rows) const {
        const std::int64_t height = m_page.height;
        const std::int64_t rowsPerStrip =
            std::min<std::int64_t>(m_tiff.Field<std::uint32_t>(TIFFTAG_ROWSPERSTRIP, 0xffffffff), height);
        if (rowsPerStrip < 1)
            throw CFileReason("it is damaged");
        std::uint32_t strip = First(TIFFNumberOfStrips(m_tiff.Get()));
        for (std::int64_t row = 0; row < height; row += rowsPerStrip, ++strip) {
            if (!IsNeeded(row, rowsPerStrip))
                continue;
            const std::int64_t bytes = std::min(rowsPerStrip, height - row) * m_rowBytes;
            Require(TIFFReadEncodedStrip(m_tiff.Get(), strip, rows + row * m_rowBytes, bytes), bytes);
        }
    }

    void ReadTiles(unsigned char* rows) const {
        const std::int64_t tileWidth = m_tiff.Field<std::uint32_t>(TIFFTAG_TILEWIDTH, 0);
        const std::int64_t tileHeight = m_tiff.Field<std::uint32_t>(TIFFTAG_TILELENGTH, 0);
        const std::int64_t tileRowBytes = TIFFTileRowSize(m_tiff.Get());
        const std::int64_t tileBytes = TIFFTileSize(m_tiff.Get());
        if (tileWidth < 1 || tileHeight < 1 || tileBytes < tileRowBytes * tileHeight ||
            tileBytes > m_tiff.FileSize() * c_maxTiffRatio)
            throw CFileReason("it is damaged: the size of its tiles");
        RequireMemory(tileBytes);
        const auto tile =
            std::make_unique_for_overwrite<unsigned char[]>(static_cast<std::size_t>(tileBytes));
        std::uint32_t index = First(TIFFNumberOfTiles(m_tiff.Get()));
        for (std::int64_t y = 0; y < m_page.height; y += tileHeight) {
            for (std::int64_t x = 0; x < m_page.width; x += tileWidth, ++index) {
                if (!IsNeeded(y, tileHeight))
                    continue;
                Require(TIFFReadEncodedTile(m_tiff.Get(), index, tile.get(), tileBytes), tileBytes);
                const std::int64_t firstByte = x * m_page.bits * m_page.AdjacentSamples() / 8;
                const std::int64_t bytes = std::min(tileRowBytes, m_rowBytes - firstByte);
                for (std::int64_t row = 0; row < std::min<std::int64_t>(tileHeight, m_page.height - y); ++row)
                    std::memcpy(rows + (y + row) * m_rowBytes + firstByte, tile.get() + row * tileRowBytes,
                                static_cast<std::size_t>(bytes));
            }
        }
    }

    [[nodiscard]] bool IsNeeded(std::int64_t row, std::int64_t count) const {
        return row <= m_lastRow && row + count > m_firstRow;
    }

    /// The first strip or tile of the chosen sample.
    [[nodiscard]] std::uint32_t First(std::uint32_t count) const {
        return count / static_cast<std::uint32_t>(m_page.SeparateSamples()) * m_separateSample;
    }

    const CTiff& m_tiff;
    const StPage& m_page;
    std::uint32_t m_separateSample;
    std::int64_t m_rowBytes;
    std::int64_t m_firstRow = 0;
    std::int64_t m_lastRow = 0;
};

/// Expands each bit to a byte; the highest bit is the first pixel.
void Unpack(const StPage& page, const unsigned char* packed, unsigned char* pixels) {
    const std::int64_t rowBytes = PackedRowBytes(page);
    for (std::int64_t y = 0; y < page.height; ++y) {
        for (std::int64_t x = 0; x < page.width; ++x)
            *pixels++ = packed[y * rowBytes + x / 8] >> (7 - x % 8) & 1;
    }
}

/// Reads at least the rows from `first` to `last` of the current page.
void ReadPage(const CTiff& tiff, const StPage& page, int separateSample, std::int64_t first,
              std::int64_t last, unsigned char* samples) {
    CPageReader reader(tiff, page, separateSample);
    if (page.bits != 1) {
        reader.Read(samples, first, last);
        return;
    }
    const auto packed = std::make_unique_for_overwrite<unsigned char[]>(
        static_cast<std::size_t>(PackedRowBytes(page) * page.height));
    reader.Read(packed.get(), first, last);
    Unpack(page, packed.get(), samples);
}

template <class Pixel>
void Invert(void* samples, std::int64_t count, Pixel greatest) {
    auto* const pixels = static_cast<Pixel*>(samples);
    for (std::int64_t i = 0; i < count; ++i)
        pixels[i] = static_cast<Pixel>(greatest - pixels[i]);
}

void InvertSamples(const StPage& page, EnSampleType sample, void* samples, std::int64_t count) {
    if (page.bits == 1)
        Invert<std::uint8_t>(samples, count, 1);
    else if (sample == SAMPLE_UINT8)
        Invert<std::uint8_t>(samples, count, 0xff);
    else if (sample == SAMPLE_UINT16)
        Invert<std::uint16_t>(samples, count, 0xffff);
    else if (sample == SAMPLE_UINT32)
        Invert<std::uint32_t>(samples, count, 0xffffffff);
}

/// Reads the planes of an image, one after the other.
class CPlanes {
public:
    /// `first` is the plane to begin with.
    CPlanes(const std::string& path, const StImageHeader& header, std::int64_t first)
        : m_header(header)
        , m_tiff(OpenForReading(path))
        , m_isPage(!IsPassedOver(*m_tiff) || NextPage(*m_tiff))
        , m_isInverted(m_isPage && IsInverted(*m_tiff, PageOf(*m_tiff)))
        , m_skipped(header.firstPlane + first * header.series.planeDistance) {}

    /// Reads at least the given rows of the next plane to their places in it.
    void ReadNext(std::int64_t firstRow, std::int64_t lastRow, unsigned char* plane) {
        for (; m_isPage && m_skipped > 0; --m_skipped)
            m_isPage = NextPage(*m_tiff);
        const StPage page = PageOf(*m_tiff);
        if (!m_isPage || page.width != m_header.size.x || page.height != m_header.size.y ||
            page.AdjacentSamples() != m_header.samplesPerPixel)
            throw CFileReason("it changed while it was read");
        ReadPage(*m_tiff, page, m_header.separateSample, firstRow, lastRow, plane);
        if (m_isInverted)
            InvertSamples(page, m_header.sample, plane,
                          m_header.size.x * m_header.size.y * m_header.samplesPerPixel);
        m_skipped = m_header.series.planeDistance;
    }

private:
    const StImageHeader& m_header;
    std::unique_ptr<CTiff> m_tiff;
    bool m_isPage;
    bool m_isInverted;
    std::int64_t m_skipped; // pages in front of the next plane
};

} // namespace

void ReadTiffSamples(const std::string& path, const StImageHeader& header, void* samples) {
    const std::int64_t planes = header.size.Dim() > 2 ? header.size.z : 1;
    const std::int64_t planeBytes = header.ByteCount() / planes;
    auto* plane = static_cast<unsigned char*>(samples);
    CPlanes file(path, header, 0);
    for (std::int64_t z = 0; z < planes; ++z, plane += planeBytes)
        file.ReadNext(0, header.size.y - 1, plane);
}

void ReadTiffRegion(const std::string& path, const StImageHeader& header, const StReadBox& box,
                    void* samples) {
    const std::int64_t pixelBytes = std::int64_t{header.samplesPerPixel} * SampleSize(header.sample);
    const std::int64_t lineBytes = header.size.x * pixelBytes;
    const std::int64_t rowBytes = box.extents[0] * pixelBytes;
    RequireMemory(lineBytes * header.size.y);
    // Rows that are not read stay 0, and are not used.
    const auto page = std::make_unique<unsigned char[]>(static_cast<std::size_t>(lineBytes * header.size.y));
    auto* row = static_cast<unsigned char*>(samples);
    CPlanes file(path, header, box.first[2]);
    for (std::int64_t z = 0; z < box.extents[2]; ++z) {
        file.ReadNext(box.first[1], box.first[1] + box.extents[1] - 1, page.get());
        for (std::int64_t y = 0; y < box.extents[1]; ++y, row += rowBytes)
            std::memcpy(row, page.get() + (box.first[1] + y) * lineBytes + box.first[0] * pixelBytes,
                        static_cast<std::size_t>(rowBytes));
    }
}

} // namespace engine
