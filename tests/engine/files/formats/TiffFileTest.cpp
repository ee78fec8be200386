#include "support/FileTools.h"

#include <sorblib2image/CQuillonHeaderTools.h>

#include <tiffio.h>

using namespace ORVEN;

// TIFF as other programs write it. What we write ourselves is tested with the other formats.

namespace engine::test {

namespace {

struct StTiffKind {
    std::uint32_t width = 19;
    std::uint32_t height = 11;
    std::uint16_t bits = 8;
    std::uint16_t sampleFormat = SAMPLEFORMAT_UINT;
    std::uint16_t samplesPerPixel = 1;
    std::uint16_t photometric = PHOTOMETRIC_MINISBLACK;
    std::uint16_t planarConfiguration = PLANARCONFIG_CONTIG;
    std::uint16_t compression = COMPRESSION_NONE;
    std::uint32_t rowsPerStrip = 3;
    std::uint32_t tileSide = 0;
    std::uint32_t subfileType = 0;
};

std::size_t RowBytes(const StTiffKind& kind) {
    return (std::size_t{kind.width} * kind.samplesPerPixel * kind.bits + 7) / 8;
}

void AddPage(TIFF* tiff, const StTiffKind& kind, const std::string& rows) {
    TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, kind.subfileType);
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, kind.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, kind.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, kind.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, kind.sampleFormat);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, kind.samplesPerPixel);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, kind.photometric);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, kind.planarConfiguration);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, kind.compression);
    const std::size_t rowBytes = RowBytes(kind);
    if (kind.tileSide == 0) {
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, kind.rowsPerStrip);
        for (std::uint32_t row = 0; row < kind.height; ++row) {
            std::string line = rows.substr(row * rowBytes, rowBytes);
            ASSERT_EQ(TIFFWriteScanline(tiff, line.data(), row, 0), 1);
        }
    } else {
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, kind.tileSide);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, kind.tileSide);
        const std::size_t pixelBytes = kind.bits * kind.samplesPerPixel / 8u;
        for (std::uint32_t y = 0; y < kind.height; y += kind.tileSide) {
            for (std::uint32_t x = 0; x < kind.width; x += kind.tileSide) {
                std::string tile(kind.tileSide * kind.tileSide * pixelBytes, '\x55');
                const std::size_t columns = std::min(kind.tileSide, kind.width - x);
                for (std::uint32_t row = 0; row < std::min(kind.tileSide, kind.height - y); ++row)
                    tile.replace(row * kind.tileSide * pixelBytes, columns * pixelBytes, rows,
                                 (y + row) * rowBytes + x * pixelBytes, columns * pixelBytes);
                ASSERT_GT(TIFFWriteTile(tiff, tile.data(), x, y, 0, 0), 0);
            }
        }
    }
    ASSERT_EQ(TIFFWriteDirectory(tiff), 1);
}

std::string RandomRows(const StTiffKind& kind, unsigned seed) {
    std::mt19937 random(seed);
    std::string rows(RowBytes(kind) * kind.height, '\0');
    for (char& byte : rows)
        byte = static_cast<char>(random());
    return rows;
}

/// Writes a file with a page of each kind; answers the rows of all of them, one behind the other.
std::string WriteTiff(const std::string& path, const std::vector<StTiffKind>& pages, const char* mode = "w") {
    TIFF* const tiff = TIFFOpen(path.c_str(), mode);
    std::string all;
    for (const StTiffKind& kind : pages) {
        const std::string rows = RandomRows(kind, static_cast<unsigned>(all.size()));
        AddPage(tiff, kind, rows);
        all += rows;
    }
    TIFFClose(tiff);
    return all;
}

} // namespace

TEST(TiffFile, ReadsStripsAndTilesOfEveryCompression) {
    const CTestFolder folder;
    for (const int compression :
         {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_PACKBITS}) {
        for (const std::uint32_t tileSide : {0u, 16u}) {
            for (const int bits : {8, 16, 32}) {
                SCOPED_TRACE(std::to_string(compression) + " " + std::to_string(tileSide) + " " +
                             std::to_string(bits));
                StTiffKind kind;
                kind.compression = static_cast<std::uint16_t>(compression);
                kind.tileSide = tileSide;
                kind.bits = static_cast<std::uint16_t>(bits);
                const std::string rows = WriteTiff(folder / "a.tif", {kind, kind, kind});
                const auto image = ReadImage(folder / "a.tif");
                EXPECT_EQ(image->Size().ToString(), "(19,11,3)");
                EXPECT_EQ(image->Type().PixelSize() * 8, bits);
                EXPECT_TRUE(PixelBytes(*image) == rows);
            }
        }
    }
}

TEST(TiffFile, ReadsFilesOfOtherMachinesAndBigFiles) {
    const CTestFolder folder;
    StTiffKind kind;
    kind.bits = 16;
    for (const char* const mode : {"wl", "wb", "w8", "wb8"}) {
        SCOPED_TRACE(mode);
        const std::string rows = WriteTiff(folder / "a.tif", {kind, kind}, mode);
        EXPECT_TRUE(PixelBytes(*ReadImage(folder / "a.tif")) == rows);
    }
}

TEST(TiffFile, ReadsASinglePageAsAPlane) {
    const CTestFolder folder;
    WriteTiff(folder / "a.tif", {StTiffKind()});
    EXPECT_EQ(ReadImage(folder / "a.tif")->Size().ToString(), "(19,11)");
}

TEST(TiffFile, ReadsBitsAsZeroAndOne) {
    const CTestFolder folder;
    StTiffKind kind;
    kind.bits = 1;
    const std::string rows = WriteTiff(folder / "a.tif", {kind});
    std::vector<unsigned char> meant;
    for (std::uint32_t y = 0; y < kind.height; ++y) {
        for (std::uint32_t x = 0; x < kind.width; ++x)
            meant.push_back(static_cast<unsigned char>(rows[y * RowBytes(kind) + x / 8]) >> (7 - x % 8) & 1);
    }
    const auto image = ReadImage(folder / "a.tif");
    EXPECT_EQ(image->Type(), IMAGE_GREY_8);
    EXPECT_EQ(Pixels<unsigned char>(*image), meant);
    kind.photometric = PHOTOMETRIC_MINISWHITE;
    WriteTiff(folder / "a.tif", {kind});
    for (unsigned char& pixel : meant)
        pixel = 1 - pixel;
    EXPECT_EQ(Pixels<unsigned char>(*ReadImage(folder / "a.tif")), meant);
}

TEST(TiffFile, TurnsWhiteIsZeroRound) {
    const CTestFolder folder;
    StTiffKind kind;
    kind.bits = 16;
    kind.photometric = PHOTOMETRIC_MINISWHITE;
    const std::string rows = WriteTiff(folder / "a.tif", {kind});
    const auto pixels = Pixels<std::uint16_t>(*ReadImage(folder / "a.tif"));
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        std::uint16_t stored = 0;
        std::memcpy(&stored, rows.data() + 2 * i, 2);
        ASSERT_EQ(pixels[i], 65535 - stored);
    }
}

TEST(TiffFile, ReadsSignedAndFloatingPages) {
    const CTestFolder folder;
    StTiffKind kind;
    kind.bits = 16;
    kind.sampleFormat = SAMPLEFORMAT_INT;
    WriteTiff(folder / "a.tif", {kind});
    EXPECT_EQ(ReadImage(folder / "a.tif")->Type(), IMAGE_GREY_F);
    kind.bits = 32;
    kind.sampleFormat = SAMPLEFORMAT_IEEEFP;
    const std::string rows = WriteTiff(folder / "a.tif", {kind});
    EXPECT_TRUE(PixelBytes(*ReadImage(folder / "a.tif")) == rows);
}

TEST(TiffFile, PassesOverReducedCopies) {
    const CTestFolder folder;
    StTiffKind thumbnail;
    thumbnail.width = 4;
    thumbnail.height = 2;
    thumbnail.subfileType = FILETYPE_REDUCEDIMAGE;
    const StTiffKind full;
    WriteTiff(folder / "a.tif", {thumbnail, full, thumbnail, full});
    EXPECT_EQ(ReadImage(folder / "a.tif")->Size().ToString(), "(19,11,2)");
    WriteTiff(folder / "a.tif", {thumbnail});
    ExpectUnreadable(folder / "a.tif", "it has no page with a full image");
}

TEST(TiffFile, RefusesColoursAndOddBits) {
    const CTestFolder folder;
    StTiffKind kind;
    kind.samplesPerPixel = 3;
    kind.photometric = PHOTOMETRIC_RGB;
    WriteTiff(folder / "a.tif", {kind});
    ExpectUnreadable(folder / "a.tif", "it holds colours; only grey pixels can be read");
    kind = StTiffKind();
    kind.bits = 4;
    WriteTiff(folder / "a.tif", {kind});
    ExpectUnreadable(folder / "a.tif", "pixels of 4 bits and sample format 1 cannot be read");
    kind = StTiffKind();
    kind.photometric = PHOTOMETRIC_CIELAB;
    WriteTiff(folder / "a.tif", {kind});
    ExpectUnreadable(folder / "a.tif", "it holds colours");
}

TEST(TiffFile, TakesSpacingFromAResolutionWithAUnit) {
    const CTestFolder folder;
    struct StCase {
        std::uint16_t unit;
        double spacingX;
        double spacingY;
    };
    for (const StCase& expected : {StCase{RESUNIT_INCH, 25.4 / 4, 25.4 / 8},
                                   StCase{RESUNIT_CENTIMETER, 2.5, 1.25}, StCase{RESUNIT_NONE, 0, 0}}) {
        TIFF* const tiff = TIFFOpen((folder / "a.tif").c_str(), "w");
        TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, expected.unit);
        TIFFSetField(tiff, TIFFTAG_XRESOLUTION, 4.0);
        TIFFSetField(tiff, TIFFTAG_YRESOLUTION, 8.0);
        AddPage(tiff, StTiffKind(), RandomRows(StTiffKind(), 1));
        TIFFClose(tiff);
        double x = 0;
        double y = 0;
        double z = 0;
        const auto image = ReadImage(folder / "a.tif");
        EXPECT_EQ(CQuillonHeaderTools::GetSpacing(*image, x, y, z), expected.spacingX > 0);
        EXPECT_EQ(x, expected.spacingX);
        EXPECT_EQ(y, expected.spacingY);
        EXPECT_EQ(z, expected.spacingX > 0 ? 1.0 : 0.0);
    }
}

} // namespace engine::test
