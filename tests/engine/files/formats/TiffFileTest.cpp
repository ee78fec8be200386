#include "support/FileTools.h"

#include <sorblib2image/StImageGeometry.h>

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

/// A page of bytes with each sample of the pixels in a plane of its own.
void AddSeparatePage(TIFF* tiff, const StTiffKind& kind, const std::string& planes) {
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, kind.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, kind.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, kind.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, kind.samplesPerPixel);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, kind.photometric);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_SEPARATE);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, kind.rowsPerStrip);
    for (std::uint16_t sample = 0; sample < kind.samplesPerPixel; ++sample) {
        for (std::uint32_t row = 0; row < kind.height; ++row) {
            std::string line = planes.substr((sample * kind.height + row) * kind.width, kind.width);
            ASSERT_EQ(TIFFWriteScanline(tiff, line.data(), row, sample), 1);
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

/// Writes a file with a page of each kind; returns the rows of all of them, one after the other.
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

TEST(TiffFile, ReadsARegionOfStripsAndTiles) {
    const CTestFolder folder;
    for (const std::uint32_t tileSide : {0u, 16u}) {
        StTiffKind kind;
        kind.height = 40;
        kind.tileSide = tileSide;
        const std::string rows = WriteTiff(folder / "a.tif", {kind, kind, kind});
        StReadOptions options;
        options.region = {{5, 17}, {17, 33}, {1, 2}};
        std::string meant;
        for (std::size_t z = 1; z <= 2; ++z) {
            for (std::size_t y = 17; y <= 33; ++y)
                meant += rows.substr((z * 40 + y) * 19 + 5, 13);
        }
        EXPECT_TRUE(PixelBytes(*ReadImage(folder / "a.tif", options)) == meant) << tileSide;
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

TEST(TiffFile, InvertsWhiteIsZero) {
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
    ExpectUnreadable(folder / "a.tif", "it has 3 channels; choose one with --channel N, N from 0 to 2");
    kind = StTiffKind();
    kind.bits = 4;
    WriteTiff(folder / "a.tif", {kind});
    ExpectUnreadable(folder / "a.tif", "pixels of 4 bits and sample format 1 cannot be read");
    kind = StTiffKind();
    kind.photometric = PHOTOMETRIC_CIELAB;
    WriteTiff(folder / "a.tif", {kind});
    ExpectUnreadable(folder / "a.tif", "it holds colours of TIFF type 8; save it as RGB or grey first");
}

namespace {

struct StResolution {
    std::uint16_t unit = RESUNIT_NONE;
    double x = 0;
    double y = 0;
};

/// A file with pages of one pixel each, whose values count from 0, and what its first page says about them.
void WritePages(const std::string& path, int pages, const std::string& description,
                const StResolution& resolution = {}, std::uint16_t samplesPerPixel = 1) {
    TIFF* const tiff = TIFFOpen(path.c_str(), "w");
    StTiffKind kind;
    kind.width = 1;
    kind.height = 1;
    kind.samplesPerPixel = samplesPerPixel;
    kind.photometric = samplesPerPixel == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
    int next = 0;
    for (int page = 0; page < pages; ++page) {
        if (page == 0 && !description.empty())
            TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, description.c_str());
        if (resolution.x > 0) {
            TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, resolution.unit);
            TIFFSetField(tiff, TIFFTAG_XRESOLUTION, resolution.x);
            TIFFSetField(tiff, TIFFTAG_YRESOLUTION, resolution.y);
        }
        std::string row;
        for (int sample = 0; sample < samplesPerPixel; ++sample)
            row += static_cast<char>(next++);
        AddPage(tiff, kind, row);
    }
    TIFFClose(tiff);
}

StImageGeometry GeometryIn(const std::string& path, bool takesPrintSize = false) {
    StReadOptions options;
    options.takesPrintSize = takesPrintSize;
    return StImageGeometry::Of(*ReadImage(path, options));
}

StImageGeometry Lengths(const StImageGeometry::Vector& spacing, const std::string& unit) {
    StImageGeometry geometry;
    geometry.spacing = spacing;
    geometry.unit = unit;
    return geometry;
}

/// The size and the pixels of one channel and time point.
std::string Chosen(const std::string& path, std::optional<std::int64_t> channel,
                   std::optional<std::int64_t> time) {
    StReadOptions options;
    options.channel = channel;
    options.time = time;
    const auto image = ReadImage(path, options);
    std::string text = image->Size().ToString();
    for (const unsigned char pixel : Pixels<unsigned char>(*image))
        text += " " + std::to_string(pixel);
    return text;
}

/// An OME description as libraries write it.
std::string Ome(const std::string& order, const std::string& attributes) {
    return R"(<?xml version="1.0" encoding="UTF-8"?>
<OME xmlns="http://www.openmicroscopy.org/Schemas/OME/2016-06"><Image ID="Image:0"><Pixels ID="Pixels:0" )"
           R"(Type="uint8" SizeX="1" SizeY="1" DimensionOrder=")" +
           order + "\" " + attributes + R"(><TiffData/></Pixels></Image></OME>)";
}

} // namespace

TEST(TiffFile, TakesAResolutionForTheSpacingOnRequestOnly) {
    const CTestFolder folder;
    const std::string path = folder / "a.tif";
    WritePages(path, 1, "", {RESUNIT_INCH, 4, 8});
    EXPECT_EQ(GeometryIn(path), StImageGeometry());
    EXPECT_EQ(GeometryIn(path, true), Lengths({25.4 / 4, 25.4 / 8, 1}, "mm"));
    WritePages(path, 1, "", {RESUNIT_CENTIMETER, 4, 8});
    EXPECT_EQ(GeometryIn(path), StImageGeometry());
    EXPECT_EQ(GeometryIn(path, true), Lengths({2.5, 1.25, 1}, "mm"));
    WritePages(path, 1, "", {RESUNIT_NONE, 4, 8});
    EXPECT_EQ(GeometryIn(path, true), StImageGeometry());
}

TEST(TiffFile, TakesSpacingAndUnitFromImageJ) {
    const CTestFolder folder;
    const std::string path = folder / "a.tif";
    const std::string head = "ImageJ=1.53t\nimages=2\nslices=2\nloop=false\n";
    const auto geometry = [&](const std::string& lines, const StResolution& resolution) {
        WritePages(path, 2, head + lines, resolution);
        return GeometryIn(path);
    };
    const StResolution half{RESUNIT_NONE, 2, 4};
    EXPECT_EQ(geometry("unit=um\nspacing=0.75\n", half), Lengths({0.5, 0.25, 0.75}, "um"));
    EXPECT_EQ(geometry("unit=\\u00B5m\nspacing=0.75\n", half), Lengths({0.5, 0.25, 0.75}, "um"));
    EXPECT_EQ(geometry("unit=\xb5m\r\nspacing=-0.75\r\n", half), Lengths({0.5, 0.25, 0.75}, "um"));
    EXPECT_EQ(geometry("unit=micron\n", half), Lengths({0.5, 0.25, 1}, "um")); // ImageJ leaves 1 out
    EXPECT_EQ(geometry("unit=cm\nspacing=0.5\n", {RESUNIT_CENTIMETER, 2, 4}), Lengths({5, 2.5, 5}, "mm"));
    EXPECT_EQ(geometry("unit=pixel\nspacing=0.75\n", half), Lengths({0.5, 0.25, 0.75}, ""));
    EXPECT_EQ(geometry("spacing=0.75\n", {}), Lengths({1, 1, 0.75}, ""));
    EXPECT_EQ(geometry("", {RESUNIT_NONE, 1, 1}), StImageGeometry());
    EXPECT_EQ(geometry("", {RESUNIT_INCH, 72, 72}), StImageGeometry()); // dots per inch
    EXPECT_EQ(geometry("unit=um\nspacing=0\n", half), Lengths({0.5, 0.25, 1}, "um"));
    WritePages(path, 1, "ImageJ=1.53t\nunit=cm\n", {RESUNIT_CENTIMETER, 2, 4});
    EXPECT_EQ(GeometryIn(path), Lengths({5, 2.5, 1}, "mm")); // a plane has no size along z
}

TEST(TiffFile, ReadsTheChosenChannelAndTimePointOfImageJ) {
    const CTestFolder folder;
    const std::string path = folder / "a.tif";
    WritePages(path, 12, "ImageJ=1.11a\nimages=12\nchannels=2\nslices=3\nframes=2\nhyperstack=true\n");
    ExpectUnreadable(path, "it has 2 channels and 2 time points; choose one with --channel N, N from 0 to 1, "
                           "and --time N, N from 0 to 1");
    EXPECT_EQ(Chosen(path, 0, 0), "(1,1,3) 0 2 4");
    EXPECT_EQ(Chosen(path, 1, 1), "(1,1,3) 7 9 11");
    WritePages(path, 3, "ImageJ=1.11a\nimages=3\nframes=3\n");
    ExpectUnreadable(path, "it has 3 time points; choose one with --time N, N from 0 to 2");
    EXPECT_EQ(Chosen(path, std::nullopt, 2), "(1,1) 2");
    // Pages that do not fit the description any more are a stack.
    WritePages(path, 5, "ImageJ=1.11a\nimages=12\nchannels=2\nslices=3\nframes=2\n");
    EXPECT_EQ(Chosen(path, std::nullopt, std::nullopt), "(1,1,5) 0 1 2 3 4");
    WritePages(path, 1, "ImageJ=1.11a\nimages=12\nslices=12\n");
    ExpectUnreadable(path,
                     "its description announces 12 images, but the file has 1 page: ImageJ saves stacks "
                     "beyond 4 GB in this way; save it as NRRD there");
}

TEST(TiffFile, TakesSpacingAndUnitFromOme) {
    const CTestFolder folder;
    const std::string path = folder / "a.tif";
    const auto geometry = [&](const std::string& attributes, int slices = 2) {
        WritePages(
            path, slices,
            Ome("XYZCT", "SizeC=\"1\" SizeT=\"1\" SizeZ=\"" + std::to_string(slices) + "\" " + attributes));
        return GeometryIn(path);
    };
    EXPECT_EQ(geometry(R"(PhysicalSizeX="0.5" PhysicalSizeY="0.25" PhysicalSizeZ="2")"),
              Lengths({0.5, 0.25, 2}, "um")); // the default
    EXPECT_EQ(geometry(R"(PhysicalSizeX="5" PhysicalSizeXUnit="nm" PhysicalSizeY="5" PhysicalSizeYUnit="nm" )"
                       R"(PhysicalSizeZ="1" PhysicalSizeZUnit="&#181;m")"),
              Lengths({5, 5, 1000}, "nm"));
    EXPECT_EQ(geometry(R"(PhysicalSizeX="5" PhysicalSizeY="5")"), StImageGeometry()); // none along z
    EXPECT_EQ(geometry(R"(PhysicalSizeX="5" PhysicalSizeY="5")", 1), Lengths({5, 5, 1}, "um"));
    EXPECT_EQ(geometry(R"(PhysicalSizeX="5" PhysicalSizeXUnit="pixel" PhysicalSizeY="5" PhysicalSizeZ="2")"),
              StImageGeometry());
}

TEST(TiffFile, ReadsTheChosenChannelAndTimePointOfOme) {
    const CTestFolder folder;
    const std::string path = folder / "a.tif";
    const std::string sizes = R"(SizeC="2" SizeZ="3" SizeT="2")";
    for (const auto& [order, pixels] : {std::pair{"XYCZT", "(1,1,3) 6 8 10"},
                                        {"XYZCT", "(1,1,3) 6 7 8"},
                                        {"XYZTC", "(1,1,3) 3 4 5"},
                                        {"XYTZC", "(1,1,3) 1 3 5"},
                                        {"XYCTZ", "(1,1,3) 2 6 10"},
                                        {"XYTCZ", "(1,1,3) 1 5 9"}}) {
        WritePages(path, 12, Ome(order, sizes));
        EXPECT_EQ(Chosen(path, 0, 1), pixels) << order;
    }
    WritePages(path, 2, Ome("XYCZT", R"(SizeC="3" SizeZ="2" SizeT="1")"), {}, 3);
    EXPECT_EQ(Chosen(path, 1, std::nullopt), "(1,1,2) 1 4"); // the samples of a pixel are its channels
}

TEST(TiffFile, RefusesOmeThatDoesNotDescribeTheFile) {
    const CTestFolder folder;
    const std::string path = folder / "a.tif";
    WritePages(path, 5, Ome("XYCZT", R"(SizeC="2" SizeZ="3" SizeT="2")"));
    ExpectUnreadable(path,
                     "its OME description announces 12 pages, but the file has 5 pages; the others may be "
                     "in files beside it, which are not read");
    WritePages(path, 1, Ome("XYCZ", R"(SizeC="1" SizeZ="1" SizeT="1")"));
    ExpectUnreadable(path, "its OME description is damaged: 'DimensionOrder'");
    WritePages(path, 1, Ome("XYCZT", R"(SizeC="1" SizeZ="0" SizeT="1")"));
    ExpectUnreadable(path, "its OME description is damaged: 'SizeZ'");
    WritePages(path, 1, "<OME><Image><Pixels");
    ExpectUnreadable(path, "its OME description is damaged");
    WritePages(path, 1, "<OME><Image><Pixels/></Image><Image><Pixels/></Image></OME>");
    ExpectUnreadable(path,
                     "it holds 2 images that may differ in size; save the one you need as a file of its own");
}

TEST(TiffFile, ReadsTheChosenColour) {
    const CTestFolder folder;
    for (const auto planar : {PLANARCONFIG_CONTIG, PLANARCONFIG_SEPARATE}) {
        StTiffKind kind;
        kind.samplesPerPixel = 3;
        kind.photometric = PHOTOMETRIC_RGB;
        kind.planarConfiguration = static_cast<std::uint16_t>(planar);
        const auto count = static_cast<std::size_t>(kind.width * kind.height);
        std::string rows;
        if (planar == PLANARCONFIG_CONTIG) {
            rows = WriteTiff(folder / "a.tif", {kind, kind});
        } else {
            TIFF* const tiff = TIFFOpen((folder / "a.tif").c_str(), "w");
            for (int page = 0; page < 2; ++page) {
                const std::string planes = RandomRows(kind, static_cast<unsigned>(page));
                AddSeparatePage(tiff, kind, planes);
                rows += planes;
            }
            TIFFClose(tiff);
        }
        ExpectUnreadable(folder / "a.tif", "it has 3 channels; choose one with --channel N, N from 0 to 2");
        for (std::size_t channel = 0; channel < 3; ++channel) {
            std::string meant;
            for (std::size_t i = 0; i < 2 * count; ++i)
                meant += planar == PLANARCONFIG_CONTIG
                             ? rows[3 * i + channel]
                             : rows[i / count * 3 * count + channel * count + i % count];
            StReadOptions options;
            options.channel = static_cast<std::int64_t>(channel);
            EXPECT_TRUE(PixelBytes(*ReadImage(folder / "a.tif", options)) == meant) << planar << channel;
        }
    }
}

TEST(TiffFile, TakesTheTruthValuesOfPythonForObjects) {
    const CTestFolder folder;
    const std::string path = folder / "a.tif";
    StTiffKind kind;
    kind.width = 8;
    kind.height = 1;
    kind.bits = 1;
    kind.photometric = PHOTOMETRIC_MINISWHITE;
    const auto pixels = [&](const char* software) {
        TIFF* const tiff = TIFFOpen(path.c_str(), "w");
        if (software != nullptr)
            TIFFSetField(tiff, TIFFTAG_SOFTWARE, software);
        AddPage(tiff, kind, kind.bits == 1 ? "\xc1" : std::string(8, '\x01'));
        TIFFClose(tiff);
        return Pixels<unsigned char>(*ReadImage(path));
    };
    using Bytes = std::vector<unsigned char>;
    EXPECT_EQ(pixels("tifffile.py"), (Bytes{1, 1, 0, 0, 0, 0, 0, 1}));
    EXPECT_EQ(pixels("GIMP"), (Bytes{0, 0, 1, 1, 1, 1, 1, 0}));
    EXPECT_EQ(pixels(nullptr), (Bytes{0, 0, 1, 1, 1, 1, 1, 0}));
    kind.bits = 8; // nobody writes this without meaning it
    EXPECT_EQ(pixels("tifffile.py"), Bytes(8, 254));
}

} // namespace engine::test
