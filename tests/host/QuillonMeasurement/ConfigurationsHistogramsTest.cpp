#include "support/CRandomSeeds.h"
#include "support/MemoryRefusal.h"
#include "support/Raised.h"
#include "support/TestImage.h"
#include <QuillonMeasurement/ConfigurationsHistograms.h>

#include <sorblib2core/CException.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

namespace {

using namespace ORVEN;

using Row = std::vector<std::uint64_t>;

/// The configurations at one threshold, block by block.
template <class T>
Row CountAt(const CImage& image, unsigned threshold) {
    Row row(256, 0);
    const CImageView<const T> pixels(image);
    for (std::int64_t z = 0; z + 1 < pixels.nz; ++z) {
        for (std::int64_t y = 0; y + 1 < pixels.ny; ++y) {
            for (std::int64_t x = 0; x + 1 < pixels.nx; ++x) {
                unsigned code = 0;
                for (unsigned bit = 0; bit < 8; ++bit) {
                    if (pixels.Row(y + (bit >> 1 & 1), z + (bit >> 2))[x + (bit & 1)] > threshold)
                        code |= 1U << bit;
                }
                ++row[code];
            }
        }
    }
    return row;
}

Row RowOf(const StConfigurationsHistograms& histograms, std::size_t greyValue) {
    const auto begin = histograms.counts.begin() + static_cast<std::ptrdiff_t>(256 * greyValue);
    return {begin, begin + 256};
}

TEST(ConfigurationsHistograms, EqualAPassForEachThresholdOn8Bits) {
    for (const unsigned seed : test::CRandomSeeds(0, 60)) {
        std::mt19937 random(seed);
        const CSize size(1 + random() % 20, 1 + random() % 6, 1 + random() % 5);
        // From nearly binary, where most values are equal, to all values.
        const double greatest = std::vector<double>{2, 6, 30, 256}[seed % 4];
        const auto image = test::RandomImage<unsigned char>(IMAGE_GREY_8, size, random, 0, greatest);
        const StConfigurationsHistograms histograms = ConfigurationsHistograms(*image);
        ASSERT_EQ(histograms.greatestGreyValue, 255U);
        ASSERT_EQ(histograms.counts.size(), 0x10000U);
        for (unsigned threshold = 0; threshold < 256; ++threshold)
            ASSERT_EQ(RowOf(histograms, threshold), CountAt<unsigned char>(*image, threshold)) << threshold;
    }
}

TEST(ConfigurationsHistograms, EqualAPassForEachThresholdOn16Bits) {
    std::mt19937 random(5);
    const auto image = test::RandomImage<unsigned short>(IMAGE_GREY_16, CSize(19, 4, 3), random, 0, 65536);
    const StConfigurationsHistograms histograms = ConfigurationsHistograms(*image);
    ASSERT_EQ(histograms.greatestGreyValue, 65535U);
    ASSERT_EQ(histograms.counts.size(), 0x1000000U);
    std::vector<unsigned> thresholds{0, 1, 32767, 32768, 65534, 65535};
    for (const unsigned short pixel : test::PixelsOf<unsigned short>(*image))
        thresholds.push_back(pixel);
    for (const unsigned threshold : thresholds)
        ASSERT_EQ(RowOf(histograms, threshold), CountAt<unsigned short>(*image, threshold)) << threshold;
}

TEST(ConfigurationsHistograms, APixelEqualToTheThresholdIsBackground) {
    const auto image = test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(2, 2, 2), {0, 1, 1, 1, 1, 1, 1, 1});
    const StConfigurationsHistograms histograms = ConfigurationsHistograms(*image);
    EXPECT_EQ(RowOf(histograms, 0)[0xFE], 1U);
    EXPECT_EQ(RowOf(histograms, 1)[0], 1U);
}

TEST(ConfigurationsHistograms, AConstantImageIsFullBelowItsValueAndEmptyFromItOn) {
    const std::vector<unsigned char> pixels(5 * 4 * 3, 77);
    const auto image = test::ImageOf(IMAGE_GREY_8, CSize(5, 4, 3), pixels);
    const StConfigurationsHistograms histograms = ConfigurationsHistograms(*image);
    for (std::size_t greyValue = 0; greyValue < 256; ++greyValue)
        EXPECT_EQ(RowOf(histograms, greyValue)[greyValue < 77 ? 255 : 0], 24U) << greyValue;
}

TEST(ConfigurationsHistograms, ABinaryImageHas256RowsOfWhichOnlyTheFirstSeesItsForeground) {
    std::mt19937 random(8);
    const auto image = test::RandomImage<unsigned char>(IMAGE_BINARY_FG, CSize(9, 9, 9), random, 0, 2);
    const StConfigurationsHistograms histograms = ConfigurationsHistograms(*image);
    ASSERT_EQ(histograms.counts.size(), 0x10000U);
    EXPECT_EQ(RowOf(histograms, 0), CountAt<unsigned char>(*image, 0));
    for (std::size_t greyValue = 1; greyValue < 256; ++greyValue)
        EXPECT_EQ(RowOf(histograms, greyValue)[0], 512U) << greyValue;
}

TEST(ConfigurationsHistograms, AnImageOfOneLayerOrNoneHasNoBlock) {
    for (const CSize& size : {CSize(1, 5, 5), CSize(5, 1, 5), CSize(5, 5, 1), CSize(5, 5), CSize(0, 5, 5),
                              CSize(5, 0, 5), CSize(5, 5, 0)}) {
        const CImage image(IMAGE_GREY_8, size, CSize(0, 0, 0));
        for (const std::uint64_t count : ConfigurationsHistograms(image).counts)
            ASSERT_EQ(count, 0U);
    }
}

TEST(ConfigurationsHistograms, RefuseATableThatDoesNotFit) {
    const CImage image(IMAGE_GREY_16, CSize(3, 3, 3), CSize(0, 0, 0));
    test::ExpectRefusedForLackOfMemory("The table of field features",
                                       [&] { (void)ConfigurationsHistograms(image); });
}

TEST(ConfigurationsHistograms, RefuseOtherTypes) {
    for (const auto& [type, name] :
         {std::pair(IMAGE_GREY_32, "IMAGE_GREY_32"), {IMAGE_GREY_F, "IMAGE_GREY_F"}}) {
        const CImage image(type, CSize(3, 3, 3), CSize(0, 0, 0));
        const auto raised = test::Raised<CException>([&] { (void)ConfigurationsHistograms(image); });
        EXPECT_STREQ(raised.Source(), "ConfigurationsHistograms");
        EXPECT_EQ(std::string(raised.Message()), std::string("Image type ") + name + " not supported.");
    }
}

} // namespace
