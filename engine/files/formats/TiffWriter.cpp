#include "engine/files/FileErrors.h"
#include "engine/files/formats/CTiff.h"
#include "engine/files/formats/StTiffDescription.h"
#include "engine/files/formats/TiffFile.h"

#include <algorithm>

namespace engine {

namespace {

constexpr std::int64_t c_bytesPerWrittenStrip = std::int64_t{1} << 20;
constexpr std::int64_t c_maxClassicSize = std::int64_t{1} << 31;

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

} // namespace

void WriteTiffSamples(const std::string& path, const StImageHeader& header, const void* samples) {
    CTiffWriter(path, header).Write(samples);
}

} // namespace engine
