#include "engine/files/formats/TiffFile.h"

#include "engine/files/FileErrors.h"
#include "engine/files/formats/CTiffLimits.h"
#include "engine/files/formats/HeaderChecks.h"
#include "engine/files/formats/HeaderGeometry.h"
#include "engine/files/formats/StTiffDescription.h"

#include <tiffio.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>

namespace engine {

namespace {

// The compression ratio of LZW is at most about 1400; newer methods reach more, and this is a practical bound
// for them.
constexpr std::int64_t c_maxTiffRatio = 4096;
// What a single allocation of libtiff may take beyond the size of the file, in bytes.
constexpr std::int64_t c_allocationSlack = std::int64_t{64} << 20;
constexpr std::int64_t c_bytesPerWrittenStrip = std::int64_t{1} << 20;
constexpr std::int64_t c_maxClassicSize = std::int64_t{1} << 31;

/// An open TIFF file that stores libtiff's error messages instead of printing them.
class CTiff {
public:
    CTiff(const std::string& path, const char* mode, std::int64_t maxAllocation) {
        TIFFOpenOptions* const options = TIFFOpenOptionsAlloc();
        TIFFOpenOptionsSetMaxSingleMemAlloc(options, static_cast<tmsize_t>(maxAllocation));
        TIFFOpenOptionsSetErrorHandlerExtR(options, &CTiff::KeepError, this);
        TIFFOpenOptionsSetWarningHandlerExtR(options, &CTiff::IgnoreWarning, this);
        m_tiff.reset(TIFFOpenExt(path.c_str(), mode, options));
        TIFFOpenOptionsFree(options);
    }

    CTiff(const CTiff&) = delete; // libtiff holds a pointer to it
    CTiff& operator=(const CTiff&) = delete;

    [[nodiscard]] TIFF* Get() const { return m_tiff.get(); }
    /// The first error message, or a general one for a damaged file.
    [[nodiscard]] std::string Error() const { return m_error.empty() ? "it is damaged" : m_error; }
    /// The system's error number when the first error was reported.
    [[nodiscard]] int SystemError() const { return m_systemError; }
    [[nodiscard]] std::int64_t FileSize() const {
        return static_cast<std::int64_t>(TIFFGetSizeProc(Get())(TIFFClientdata(Get())));
    }

    template <class Number>
    [[nodiscard]] Number Field(std::uint32_t tag, Number fallback) const {
        Number number = fallback;
        if (TIFFGetFieldDefaulted(Get(), tag, &number) == 0)
            return fallback;
        return number;
    }

    /// A field with a text; empty if it is missing.
    [[nodiscard]] std::string Text(std::uint32_t tag) const {
        const char* text = nullptr;
        return TIFFGetField(Get(), tag, &text) != 0 && text != nullptr ? text : "";
    }

private:
    struct StClose {
        void operator()(TIFF* tiff) const { TIFFClose(tiff); }
    };

    static int KeepError(TIFF*, void* self, const char*, const char* format, va_list arguments) {
        auto& error = static_cast<CTiff*>(self)->m_error;
        if (error.empty()) {
            static_cast<CTiff*>(self)->m_systemError = errno;
            std::array<char, 300> text{};
            std::vsnprintf(text.data(), text.size(), format, arguments);
            error = text.data();
            std::replace(error.begin(), error.end(), '\n', ' ');
        }
        return 1; // no further handler
    }

    static int IgnoreWarning(TIFF*, void*, const char*, const char*, va_list) { return 1; }

    std::string m_error; // closing can report errors, so it must outlive the file
    int m_systemError = 0;
    std::unique_ptr<TIFF, StClose> m_tiff;
};

/// Properties that must be equal on all pages.
struct StPage {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t bits = 1;
    std::uint16_t sampleFormat = SAMPLEFORMAT_UINT;
    std::uint16_t samplesPerPixel = 1;
    std::uint16_t photometric = PHOTOMETRIC_MINISBLACK;
    std::uint16_t planarConfiguration = PLANARCONFIG_CONTIG;

    /// Whether the samples of a pixel are not adjacent, but each in its own strips.
    [[nodiscard]] bool IsSeparate() const {
        return samplesPerPixel > 1 && planarConfiguration == PLANARCONFIG_SEPARATE;
    }
    [[nodiscard]] int AdjacentSamples() const { return IsSeparate() ? 1 : samplesPerPixel; }
    [[nodiscard]] int SeparateSamples() const { return IsSeparate() ? samplesPerPixel : 1; }

    friend bool operator==(const StPage&, const StPage&) = default;
};

StPage PageOf(const CTiff& tiff) {
    StPage page;
    page.width = tiff.Field<std::uint32_t>(TIFFTAG_IMAGEWIDTH, 0);
    page.height = tiff.Field<std::uint32_t>(TIFFTAG_IMAGELENGTH, 0);
    page.bits = tiff.Field<std::uint16_t>(TIFFTAG_BITSPERSAMPLE, 1);
    page.sampleFormat = tiff.Field<std::uint16_t>(TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
    page.samplesPerPixel = tiff.Field<std::uint16_t>(TIFFTAG_SAMPLESPERPIXEL, 1);
    page.photometric = tiff.Field<std::uint16_t>(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    page.planarConfiguration = tiff.Field<std::uint16_t>(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    if (page.sampleFormat == SAMPLEFORMAT_VOID)
        page.sampleFormat = SAMPLEFORMAT_UINT;
    return page;
}

bool IsPassedOver(const CTiff& tiff) {
    return (tiff.Field<std::uint32_t>(TIFFTAG_SUBFILETYPE, 0) & (FILETYPE_REDUCEDIMAGE | FILETYPE_MASK)) != 0;
}

EnSampleType SampleOf(const StPage& page) {
    const bool isUnsigned = page.sampleFormat == SAMPLEFORMAT_UINT;
    const bool isFloat = page.sampleFormat == SAMPLEFORMAT_IEEEFP;
    if (isUnsigned || page.sampleFormat == SAMPLEFORMAT_INT) {
        switch (page.bits) {
        case 1:
            if (isUnsigned && page.samplesPerPixel == 1)
                return SAMPLE_UINT8;
            break;
        case 8:
            return isUnsigned ? SAMPLE_UINT8 : SAMPLE_INT8;
        case 16:
            return isUnsigned ? SAMPLE_UINT16 : SAMPLE_INT16;
        case 32:
            return isUnsigned ? SAMPLE_UINT32 : SAMPLE_INT32;
        case 64:
            return isUnsigned ? SAMPLE_UINT64 : SAMPLE_INT64;
        default:
            break;
        }
    }
    if (isFloat && page.bits == 32)
        return SAMPLE_FLOAT;
    if (isFloat && page.bits == 64)
        return SAMPLE_DOUBLE;
    throw CFileReason("pixels of " + std::to_string(page.bits) + " bits and sample format " +
                      std::to_string(page.sampleFormat) + " cannot be read");
}

void RequireKnownColours(const StPage& page) {
    if (page.photometric == PHOTOMETRIC_PALETTE)
        throw CFileReason("its pixels are indices into a palette of colours; save it as RGB or grey first");
    if (page.photometric != PHOTOMETRIC_MINISBLACK && page.photometric != PHOTOMETRIC_MINISWHITE &&
        page.photometric != PHOTOMETRIC_RGB)
        throw CFileReason("it holds colours of TIFF type " + std::to_string(page.photometric) +
                          "; save it as RGB or grey first");
}

/// Bytes of a row of samples as stored in the file: 1-bit pixels are unpacked later.
std::int64_t PackedRowBytes(const StPage& page) {
    return (std::int64_t{page.width} * page.AdjacentSamples() * page.bits + 7) / 8;
}

/// The maximum compression ratio of the file's compression method.
std::int64_t PackingRatio(const CTiff& tiff) {
    const bool isPacked =
        tiff.Field<std::uint16_t>(TIFFTAG_COMPRESSION, COMPRESSION_NONE) != COMPRESSION_NONE;
    return isPacked ? c_maxTiffRatio : 1;
}

struct StResolution {
    std::uint16_t unit = RESUNIT_NONE;
    std::optional<std::array<double, 2>> pixelSize; ///< width and height in that unit
};

StResolution ResolutionOf(const CTiff& tiff) {
    StResolution resolution;
    resolution.unit = tiff.Field<std::uint16_t>(TIFFTAG_RESOLUTIONUNIT, RESUNIT_NONE);
    float x = 0;
    float y = 0;
    if (TIFFGetField(tiff.Get(), TIFFTAG_XRESOLUTION, &x) != 0 &&
        TIFFGetField(tiff.Get(), TIFFTAG_YRESOLUTION, &y) != 0)
        resolution.pixelSize = {1 / static_cast<double>(x), 1 / static_cast<double>(y)};
    return resolution;
}

std::optional<std::array<double, 3>> PrintSizeOf(const StResolution& resolution) {
    const double millimetres = resolution.unit == RESUNIT_INCH         ? 25.4
                               : resolution.unit == RESUNIT_CENTIMETER ? 10.0
                                                                       : 0.0;
    if (millimetres == 0 || !resolution.pixelSize)
        return std::nullopt;
    return CheckedSpacing(
        std::array{millimetres * (*resolution.pixelSize)[0], millimetres * (*resolution.pixelSize)[1]});
}

/// ImageJ means the resolution in the unit of its description. Without a unit, it counts only if it says
/// anything, and a resolution per inch or centimetre is a print size.
void ReadImageJSpacing(const StResolution& resolution, const StTiffDescription& description,
                       ORVEN::StImageGeometry& geometry) {
    const auto size = resolution.pixelSize.value_or(std::array{1.0, 1.0});
    const auto unit = KnownLengthUnit(description.unit);
    if (!unit && PrintSizeOf(resolution))
        return;
    const std::array spacing = {size[0], size[1], description.slices > 1 ? description.sliceDistance : 1.0};
    if (!unit && spacing == std::array{1.0, 1.0, 1.0})
        return;
    geometry.spacing = CheckedSpacing(spacing);
    if (unit && geometry.spacing) {
        ConvertUnit(geometry, *unit);
        if (description.slices == 1)
            (*geometry.spacing)[2] = 1;
    }
}

void ReadGeometry(const StResolution& resolution, const StTiffDescription& description,
                  StImageHeader& header) {
    if (description.program == StTiffDescription::PROGRAM_OME)
        header.geometry = description.geometry;
    else if (description.program == StTiffDescription::PROGRAM_IMAGEJ)
        ReadImageJSpacing(resolution, description, header.geometry);
    if (!header.geometry.spacing)
        header.printSize = PrintSizeOf(resolution);
}

/// The description, corrected for pages that it does not fit.
StTiffDescription DescriptionOf(const std::string& text, const StPage& page, std::int64_t pages) {
    StTiffDescription description = StTiffDescription::Of(text);
    const std::string pagesInWords = std::to_string(pages) + (pages == 1 ? " page" : " pages");
    if (description.program == StTiffDescription::PROGRAM_OME) {
        // The samples of a pixel are channels, too.
        if (description.channels % page.samplesPerPixel == 0)
            description.channels /= page.samplesPerPixel;
        if (description.PlaneCount() != pages)
            throw CFileReason("its OME description announces " + std::to_string(description.PlaneCount()) +
                              " pages, but the file has " + pagesInWords +
                              "; the others may be in files beside it, which are not read");
        return description;
    }
    if (description.program == StTiffDescription::PROGRAM_IMAGEJ && description.PlaneCount() == pages)
        return description;
    if (description.program == StTiffDescription::PROGRAM_IMAGEJ && pages == 1 &&
        description.PlaneCount() > 1)
        throw CFileReason("its description announces " + std::to_string(description.PlaneCount()) +
                          " images, but the file has 1 page: ImageJ saves stacks beyond 4 GB in this way; "
                          "save it as NRRD there");
    // Pages were added or removed since the description was written, or there is none.
    description.channels = 1;
    description.times = 1;
    description.slices = pages;
    return description;
}

/// Whether the pixels have to be inverted to be greater where the image is brighter.
///
/// A common library for Python, tifffile, writes truth values as "white is zero" with 1 for true, and reads
/// them without regard to it: there, 1 means the object.
bool IsInverted(const CTiff& tiff, const StPage& page) {
    if (page.photometric != PHOTOMETRIC_MINISWHITE)
        return false;
    return page.bits > 1 || !tiff.Text(TIFFTAG_SOFTWARE).starts_with("tifffile");
}

std::string InWords(const StPage& page) {
    return std::to_string(page.width) + " x " + std::to_string(page.height) + " of " +
           std::to_string(page.bits) + " bits";
}

/// Moves to the next page that is used; returns false at the end. `limits`, if given, count all directories.
bool NextPage(const CTiff& tiff, CTiffLimits* limits = nullptr) {
    while (TIFFLastDirectory(tiff.Get()) == 0) {
        if (TIFFReadDirectory(tiff.Get()) == 0)
            throw CFileReason(tiff.Error());
        if (limits != nullptr)
            limits->CountDirectory(tiff.Get());
        if (!IsPassedOver(tiff))
            return true;
    }
    return false;
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

std::unique_ptr<CTiff> OpenForReading(const std::string& path) {
    auto tiff = std::make_unique<CTiff>(path, "rm", FileSize(path) + c_allocationSlack);
    if (tiff->Get() == nullptr)
        throw CFileReason(tiff->Error());
    return tiff;
}

class CTiffWriter {
public:
    CTiffWriter(const std::string& path, const StImageHeader& header)
        : m_header(header)
        , m_tiff(path, header.ByteCount() > c_maxClassicSize ? "w8" : "w", 0) {
        Require(m_tiff.Get() != nullptr);
    }

    void Write(const void* samples) {
        const auto* plane = static_cast<const unsigned char*>(samples);
        const std::int64_t planes = m_header.size.Dim() > 2 ? m_header.size.z : 1;
        for (std::int64_t z = 0; z < planes; ++z, plane += RowBytes() * m_header.size.y) {
            WriteTags();
            WriteStrips(plane);
            Require(TIFFWriteDirectory(m_tiff.Get()) != 0);
        }
        Require(TIFFFlush(m_tiff.Get()) != 0);
    }

private:
    void Require(bool isDone) const {
        if (!isDone)
            throw CFileReason(m_tiff.Error(), SystemReason(m_tiff.SystemError()).Fault());
    }

    [[nodiscard]] std::int64_t RowBytes() const {
        return m_header.size.x * m_header.samplesPerPixel * SampleSize(m_header.sample);
    }

    [[nodiscard]] std::int64_t RowsPerStrip() const {
        return std::max<std::int64_t>(1, std::min(m_header.size.y, c_bytesPerWrittenStrip / RowBytes()));
    }

    void WriteTags() {
        TIFF* const tiff = m_tiff.Get();
        TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, m_header.size.Dim() > 2 ? FILETYPE_PAGE : 0);
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(m_header.size.x));
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(m_header.size.y));
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8 * SampleSize(m_header.sample));
        TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, m_header.samplesPerPixel);
        TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT,
                     m_header.sample == SAMPLE_FLOAT ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(RowsPerStrip()));
        if (m_header.geometry.spacing)
            WriteSpacing();
    }

    /// The format states a resolution per centimetre; other programs take a length without a unit for
    /// millimetres. A description makes it a pixel size.
    void WriteSpacing() {
        constexpr double centimetresPerMillimetre = 0.1;
        constexpr double leastSpacing = 1e-9; // a TIFF fraction has a 32-bit numerator and denominator
        constexpr double greatestSpacing = 1e7;
        const double factor =
            ORVEN::UnitFactor(m_header.geometry.unit, "mm").value_or(1) * centimetresPerMillimetre;
        std::array<double, 3> size = *m_header.geometry.spacing;
        for (double& number : size)
            number *= factor;
        if (std::min(size[0], size[1]) < leastSpacing || std::max(size[0], size[1]) > greatestSpacing)
            return;
        TIFFSetField(m_tiff.Get(), TIFFTAG_RESOLUTIONUNIT, RESUNIT_CENTIMETER);
        TIFFSetField(m_tiff.Get(), TIFFTAG_XRESOLUTION, 1 / size[0]);
        TIFFSetField(m_tiff.Get(), TIFFTAG_YRESOLUTION, 1 / size[1]);
        if (!m_header.geometry.unit.empty()) {
            const std::int64_t slices = m_header.size.Dim() > 2 ? m_header.size.z : 1;
            TIFFSetField(m_tiff.Get(), TIFFTAG_IMAGEDESCRIPTION,
                         StTiffDescription::TextOf(slices, size[2]).c_str());
        }
    }

    void WriteStrips(const unsigned char* plane) {
        std::uint32_t strip = 0;
        for (std::int64_t row = 0; row < m_header.size.y; row += RowsPerStrip(), ++strip) {
            const std::int64_t bytes = std::min(RowsPerStrip(), m_header.size.y - row) * RowBytes();
            // libtiff does not change uncompressed data in the machine's own byte order.
            auto* const rows = const_cast<unsigned char*>(plane + row * RowBytes());
            Require(TIFFWriteEncodedStrip(m_tiff.Get(), strip, rows, bytes) == bytes);
        }
    }

    const StImageHeader& m_header;
    CTiff m_tiff;
};

/// Counts the pages from the current one on, and checks that they are alike and that the file holds them.
std::int64_t CountPages(const CTiff& tiff, const StPage& page, CTiffLimits& limits) {
    // From here on the bytes of a page cannot overflow.
    (void)CheckedSize({page.width, page.height}, page.samplesPerPixel * SampleSize(SampleOf(page)));
    std::int64_t pages = 0;
    do {
        ++pages;
        const StPage other = PageOf(tiff);
        if (!(other == page))
            throw CFileReason("its pages differ: page 1 is " + InWords(page) + ", page " +
                              std::to_string(pages) + " is " + InWords(other));
        limits.CountPixels(tiff.Get(), PackedRowBytes(page) * page.height * page.SeparateSamples(),
                           PackingRatio(tiff));
    } while (NextPage(tiff, &limits));
    limits.RequirePixelData();
    return pages;
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

StImageHeader ReadTiffHeader(const std::string& path) {
    const std::int64_t fileSize = FileSize(path);
    const auto tiff = OpenForReading(path);
    CTiffLimits limits(path, fileSize);
    limits.CountDirectory(tiff->Get());
    if (IsPassedOver(*tiff) && !NextPage(*tiff, &limits))
        throw CFileReason("it has no page with a full image");
    const StPage page = PageOf(*tiff);
    StImageHeader header;
    header.format = FORMAT_TIFF;
    header.sample = SampleOf(page);
    header.samplesPerPixel = page.AdjacentSamples();
    header.separateSamples = page.SeparateSamples();
    RequireKnownColours(page);
    const std::string text = tiff->Text(TIFFTAG_IMAGEDESCRIPTION);
    const StResolution resolution = ResolutionOf(*tiff);
    const std::int64_t pages = CountPages(*tiff, page, limits);
    const StTiffDescription description = DescriptionOf(text, page, pages);
    std::vector<std::int64_t> extents = {page.width, page.height};
    if (description.slices > 1)
        extents.push_back(description.slices);
    header.size = CheckedSize(std::move(extents), header.samplesPerPixel * SampleSize(header.sample));
    header.series = description.Series();
    ReadGeometry(resolution, description, header);
    return header;
}

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

void WriteTiffSamples(const std::string& path, const StImageHeader& header, const void* samples) {
    CTiffWriter(path, header).Write(samples);
}

} // namespace engine
