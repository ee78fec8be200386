#include "support/FileTools.h"

#include <sorblib2image/CQuillonHeaderTools.h>

#include <zlib.h>

using namespace ORVEN;

// PNG as other programs write it: every colour type and depth, put together block by block.

namespace engine::test {

namespace {

enum EnColour : char {
    COLOUR_GREY = 0,
    COLOUR_RGB = 2,
    COLOUR_PALETTE = 3,
    COLOUR_GREY_ALPHA = 4,
    COLOUR_RGBA = 6
};

std::string BigEndian(std::uint32_t number) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>(number >> shift);
    return bytes;
}

std::string Block(const std::string& name, const std::string& data) {
    const std::string body = name + data;
    const auto sum = crc32(0, reinterpret_cast<const Bytef*>(body.data()), static_cast<uInt>(body.size()));
    return BigEndian(static_cast<std::uint32_t>(data.size())) + body +
           BigEndian(static_cast<std::uint32_t>(sum));
}

std::string Packed(const std::string& bytes) {
    uLongf length = compressBound(bytes.size());
    std::string packed(length, '\0');
    compress(reinterpret_cast<Bytef*>(packed.data()), &length, reinterpret_cast<const Bytef*>(bytes.data()),
             bytes.size());
    packed.resize(length);
    return packed;
}

/// A file of one row of `width` pixels.
std::string Png(std::uint32_t width, int depth, EnColour colour, const std::string& row,
                const std::string& more = "") {
    const std::string header = BigEndian(width) + BigEndian(1) + static_cast<char>(depth) +
                               static_cast<char>(colour) + std::string(3, '\0');
    return "\x89PNG\r\n\x1a\n" + Block("IHDR", header) + more +
           Block("IDAT", Packed(std::string(1, '\0') + row)) + Block("IEND", "");
}

std::vector<unsigned char> PixelsOf(const std::string& png) {
    const CTestFolder folder;
    Store(folder / "a.png", png);
    return Pixels<unsigned char>(*ReadImage(folder / "a.png"));
}

using Bytes = std::vector<unsigned char>;

} // namespace

TEST(PngFile, SpreadsFewBitsOverTheRangeOfAByte) {
    EXPECT_EQ(PixelsOf(Png(3, 1, COLOUR_GREY, "\xa0")), (Bytes{255, 0, 255}));
    EXPECT_EQ(PixelsOf(Png(4, 2, COLOUR_GREY, "\x1b")), (Bytes{0, 85, 170, 255}));
    EXPECT_EQ(PixelsOf(Png(2, 4, COLOUR_GREY, "\x1f")), (Bytes{17, 255}));
    EXPECT_EQ(PixelsOf(Png(2, 8, COLOUR_GREY, "\x1f\x80")), (Bytes{31, 128}));
}

TEST(PngFile, Reads16BitsInTheOrderOfTheMachine) {
    const CTestFolder folder;
    Store(folder / "a.png", Png(2, 16, COLOUR_GREY, "\x01\x02\xff\xfe"));
    EXPECT_EQ(Pixels<std::uint16_t>(*ReadImage(folder / "a.png")),
              (std::vector<std::uint16_t>{0x102, 0xfffe}));
}

TEST(PngFile, TakesColoursThatAreGrey) {
    EXPECT_EQ(PixelsOf(Png(2, 8, COLOUR_RGB, "\x05\x05\x05\x09\x09\x09")), (Bytes{5, 9}));
    EXPECT_EQ(PixelsOf(Png(2, 8, COLOUR_RGBA, "\x05\x05\x05\xff\x09\x09\x09\x80")), (Bytes{5, 9}));
    EXPECT_EQ(PixelsOf(Png(2, 8, COLOUR_GREY_ALPHA, "\x05\xff\x09\x01")), (Bytes{5, 9}));
    const std::string palette = Block("PLTE", "\x05\x05\x05\x09\x09\x09");
    EXPECT_EQ(PixelsOf(Png(3, 8, COLOUR_PALETTE, std::string("\1\0\1", 3), palette)), (Bytes{9, 5, 9}));
    EXPECT_EQ(PixelsOf(Png(2, 8, COLOUR_GREY, "\x05\x09", Block("tRNS", std::string("\0\x05", 2)))),
              (Bytes{5, 9}));
}

TEST(PngFile, ReadsTheChosenChannel) {
    const CTestFolder folder;
    Store(folder / "a.png", Png(2, 8, COLOUR_RGBA, "\x01\x02\x03\x04\x05\x06\x07\x08"));
    for (int channel = 0; channel < 4; ++channel) {
        StReadOptions options;
        options.channel = channel;
        const auto first = static_cast<unsigned char>(channel + 1);
        EXPECT_EQ(Pixels<unsigned char>(*ReadImage(folder / "a.png", options)),
                  (Bytes{first, static_cast<unsigned char>(first + 4)}));
    }
}

TEST(PngFile, RefusesColours) {
    const CTestFolder folder;
    Store(folder / "a.png", Png(1, 8, COLOUR_RGB, "\x05\x05\x06"));
    ExpectUnreadable(folder / "a.png", "it has 3 channels; choose one with --channel N, N from 0 to 2");
    Store(folder / "a.png", Png(1, 8, COLOUR_PALETTE, std::string(1, '\0'), Block("PLTE", "\x05\x06\x07")));
    ExpectUnreadable(folder / "a.png", "it has 3 channels; choose one with --channel N, N from 0 to 2");
}

TEST(PngFile, TakesAResolutionPerMetreForTheSpacingOnRequestOnly) {
    const CTestFolder folder;
    const auto spacingOf = [&](char unit, bool takesPrintSize) {
        Store(folder / "a.png", Png(1, 8, COLOUR_GREY, "x",
                                    Block("pHYs", BigEndian(1000) + BigEndian(4000) + std::string(1, unit))));
        StReadOptions options;
        options.takesPrintSize = takesPrintSize;
        const auto image = ReadImage(folder / "a.png", options);
        EXPECT_EQ(image->Attributes().HasEntry("unit"), takesPrintSize && unit == 1);
        std::array<double, 3> spacing{};
        CQuillonHeaderTools::GetSpacing(*image, spacing[0], spacing[1], spacing[2]);
        return spacing;
    };
    EXPECT_EQ(spacingOf(1, true), (std::array{1.0, 0.25, 1.0}));
    EXPECT_EQ(spacingOf(1, false), (std::array{0.0, 0.0, 0.0}));
    EXPECT_EQ(spacingOf(0, true), (std::array{0.0, 0.0, 0.0}));
}

TEST(PngFile, RefusesHeadersThatCannotBeTrue) {
    const CTestFolder folder;
    const auto expectRefused = [&](const std::string& png, const std::string& part) {
        Store(folder / "a.png", png);
        ExpectUnreadable(folder / "a.png", part);
    };
    expectRefused(Png(100000000, 8, COLOUR_GREY, "x"), "its header announces 100000000 bytes of pixels");
    expectRefused(Png(0, 8, COLOUR_GREY, "x"), "its header announces the extent 0");
    expectRefused(Png(2, 8, static_cast<EnColour>(5), "xx"), "the colour type 5");
    expectRefused(Png(2, 3, COLOUR_GREY, "xx"), "it is damaged");
    expectRefused(Png(2, 8, COLOUR_PALETTE, "xx"), "it is damaged");
    expectRefused(Png(5, 8, COLOUR_GREY, "xx"), "it is damaged");
    expectRefused("\x89PNG\r\n\x1a\n" + Block("IEND", ""), "it does not begin with its header");
}

} // namespace engine::test
