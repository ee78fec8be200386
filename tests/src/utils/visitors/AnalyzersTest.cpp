#include "utils/visitors/Analyzers.h"

#include "support/CRandomSeeds.h"
#include "support/TestImage.h"
#include "support/TraversalTools.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <type_traits>

using namespace ORVEN;
using test::Traverse;

namespace {

using Entries = std::vector<std::pair<unsigned int, std::size_t>>;

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float greatest = 3.4028235e38F;

template <class T>
std::unique_ptr<CImage> Line(const IImage::CType& type, const std::vector<T>& pixels) {
    return test::ImageOf<T>(type, CSize(static_cast<std::int64_t>(pixels.size()), 1), pixels);
}

std::pair<float, float> MinMax(const std::vector<float>& pixels) {
    const auto image = Line<float>(IMAGE_GREY_F, pixels);
    visitors::CAnalyzerMinMax<float> extrema;
    EXPECT_TRUE(Traverse(extrema, *image));
    return {extrema.minimum, extrema.maximum};
}

template <class T>
void ExpectCleanStart(const IImage::CType& type) {
    const CImage empty(type, CSize(0, 1), CSize(0, 0));
    visitors::CAnalyzerMinMax<T> extrema;
    EXPECT_TRUE(Traverse(extrema, empty));
    EXPECT_EQ(extrema.minimum, std::numeric_limits<T>::max());
    EXPECT_EQ(extrema.maximum, 0);
}

} // namespace

TEST(CAnalyzerMinMax, FindsBothExtrema) {
    EXPECT_EQ(MinMax({3, -2, 8, 0}), std::pair(-2.0F, 8.0F));
    EXPECT_EQ(MinMax({-5}), std::pair(-5.0F, -5.0F));
    EXPECT_EQ(MinMax({infinity, 1, -infinity}), std::pair(-infinity, infinity));
}

TEST(CAnalyzerMinMax, PassesOverNaN) {
    EXPECT_EQ(MinMax({notANumber, 3, notANumber, 4, notANumber}), std::pair(3.0F, 4.0F));
}

TEST(CAnalyzerMinMax, FindsTheSameInARowAsPixelByPixel) {
    const std::vector<float> values{notANumber, infinity, -infinity, 0.0F, -0.0F, 1.0F, -1.0F};
    for (const unsigned seed : test::CRandomSeeds(0, 400)) {
        std::mt19937 random(seed);
        const std::size_t first = random() % values.size(); // few of the values, so that zeros are extrema
        const std::size_t kinds = 1 + random() % 3;
        std::vector<float> pixels(random() % 70);
        for (float& pixel : pixels)
            pixel = values[(first + random() % kinds) % values.size()];
        visitors::CAnalyzerMinMax<float> each;
        visitors::CAnalyzerMinMax<float> row;
        each.preprocess();
        row.preprocess();
        for (const float pixel : pixels)
            each(pixel);
        const std::size_t cut = pixels.empty() ? 0 : random() % pixels.size();
        row.VisitRow(pixels.data(), static_cast<std::int64_t>(cut));
        row.VisitRow(pixels.data() + cut, static_cast<std::int64_t>(pixels.size() - cut));
        EXPECT_EQ(row.minimum, each.minimum);
        EXPECT_EQ(row.maximum, each.maximum);
        EXPECT_EQ(std::signbit(row.minimum), std::signbit(each.minimum)) << "the first of two zeros counts";
        EXPECT_EQ(std::signbit(row.maximum), std::signbit(each.maximum)) << "the first of two zeros counts";
    }
}

TEST(CAnalyzerMinMax, OnlyNaNLeavesTheStartValues) {
    EXPECT_EQ(MinMax({notANumber, notANumber}), std::pair(greatest, -greatest));
}

TEST(CAnalyzerMinMax, StartsFromTheEndsOfTheRangeOfUnsignedTypes) {
    ExpectCleanStart<unsigned char>(IMAGE_GREY_8);
    ExpectCleanStart<unsigned short>(IMAGE_GREY_16);
    ExpectCleanStart<unsigned int>(IMAGE_GREY_32);
}

TEST(CAnalyzerMinMax, CanCarryOnFromStartValues) {
    const auto image = Line<unsigned short>(IMAGE_GREY_16, {20, 30});
    visitors::CAnalyzerMinMax<unsigned short> extrema;
    extrema.continues = true;
    extrema.startMinimum = 5;
    extrema.startMaximum = 25;
    EXPECT_TRUE(Traverse(extrema, *image));
    EXPECT_EQ(extrema.minimum, 5);
    EXPECT_EQ(extrema.maximum, 30);
    EXPECT_FALSE(extrema.continues) << "the next run starts clean";
    EXPECT_TRUE(Traverse(extrema, *image));
    EXPECT_EQ(extrema.minimum, 20);
}

TEST(CAnalyzerMinMax, SetsTheFlagForTheLengthOfARun) {
    visitors::CAnalyzerMinMax<float> extrema;
    extrema.preprocess();
    EXPECT_TRUE(extrema.continues);
    extrema.postprocess();
    EXPECT_FALSE(extrema.continues);
}

TEST(CAnalyzerHistogram, CountsEachValueAndForgetsTheRunBefore) {
    const auto image = Line<unsigned char>(IMAGE_GREY_8, {0, 255, 7, 7, 255, 7});
    std::vector<std::size_t> bins(3, 99);
    visitors::CAnalyzerHistogram<unsigned char, std::size_t> histogram(256, &bins);
    for (int run = 0; run < 2; ++run) {
        EXPECT_TRUE(Traverse(histogram, *image));
        std::vector<std::size_t> expected(256, 0);
        expected[0] = 1;
        expected[7] = 3;
        expected[255] = 2;
        EXPECT_EQ(bins, expected);
    }
}

TEST(CAnalyzerHistogram, CountsShorts) {
    const auto image = Line<unsigned short>(IMAGE_GREY_16, {65535, 256, 65535});
    std::vector<std::size_t> bins;
    visitors::CAnalyzerHistogram<unsigned short, std::size_t> histogram(65536, &bins);
    EXPECT_TRUE(Traverse(histogram, *image));
    EXPECT_EQ(bins.size(), 65536U);
    EXPECT_EQ(bins[65535], 2U);
    EXPECT_EQ(bins[256], 1U);
}

TEST(CAnalyzerCountValues, HoldsAnOrderedMapFromValueToCount) {
    const auto image = Line<unsigned int>(IMAGE_GREY_32, {7, 0xFFFFFFFF, 7, 0, 7});
    visitors::CAnalyzerCountValues<unsigned int, std::size_t> values;
    static_assert(
        std::is_same_v<decltype(values.counts)::value_type, std::map<unsigned int, std::size_t>::value_type>);
    EXPECT_TRUE(Traverse(values, *image));
    EXPECT_EQ(Entries(values.counts.begin(), values.counts.end()),
              (Entries{{0, 1}, {7, 3}, {0xFFFFFFFF, 1}}));
}

TEST(CAnalyzerCountValues, AgreesWithAnOrderedMap) {
    for (const unsigned seed : test::CRandomSeeds(1, 31)) {
        std::mt19937 random(seed);
        const double greatestValue = seed % 2 == 0 ? 20.0 : 4e9;
        const auto image =
            test::RandomImage<unsigned int>(IMAGE_GREY_32, CSize(17, 13, 15), random, 0, greatestValue);
        std::map<unsigned int, std::size_t> expected;
        for (const unsigned int pixel : test::PixelsOf<unsigned int>(*image))
            ++expected[pixel];
        visitors::CAnalyzerCountValues<unsigned int, std::size_t> values;
        for (int run = 0; run < 2; ++run) {
            EXPECT_TRUE(Traverse(values, *image));
            EXPECT_EQ(Entries(values.counts.begin(), values.counts.end()),
                      Entries(expected.begin(), expected.end()));
        }
    }
}

TEST(CAnalyzerCountValues, BothZerosAreOneValueAndAllNaNAreTheLast) {
    const auto image =
        Line<float>(IMAGE_GREY_F, {notANumber, 0.0F, -0.0F, infinity, -notANumber, -0.0F, -1.0F});
    visitors::CAnalyzerCountValues<float, std::size_t> values;
    EXPECT_TRUE(Traverse(values, *image));
    const std::vector<std::pair<float, std::size_t>> entries(values.counts.begin(), values.counts.end());
    ASSERT_EQ(entries.size(), 4U);
    EXPECT_EQ(entries[0], std::pair(-1.0F, std::size_t{1}));
    EXPECT_EQ(entries[1], std::pair(0.0F, std::size_t{3}));
    EXPECT_EQ(entries[2], std::pair(infinity, std::size_t{1}));
    EXPECT_TRUE(std::isnan(entries[3].first));
    EXPECT_EQ(entries[3].second, 2U);
}
