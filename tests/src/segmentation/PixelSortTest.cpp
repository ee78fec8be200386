#include "segmentation/PixelSort.h"

#include "segmentation/PixelSortVisitors.h"
#include "support/CRandomSeeds.h"
#include "support/Raised.h"
#include "support/TestImage.h"
#include "support/TraversalTools.h"

#include <sorblib2core/CException.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <random>
#include <type_traits>

using namespace ORVEN;
using test::CapturedOutput;
using test::HostProgress;
using test::Raised;
using test::SizeOf;

namespace {

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

/// What the sort hands out. It starts with rubbish, which the sort has to clear.
struct Sorted {
    std::vector<std::uint16_t> x = {9, 9, 9};
    std::vector<std::uint16_t> y = {9, 9};
    std::vector<std::uint16_t> z = {9};
    std::vector<std::uint64_t> levelStarts = {9, 9, 9, 9};
    std::uint32_t levels = 9;
    std::uint32_t highestLabel = 9;

    friend bool operator==(const Sorted& a, const Sorted& b) = default;
};

template <class T, int dimension>
Sorted SortedPixels(const IImage& image) {
    Sorted sorted;
    sorted.levels =
        GetHistogramAndPixelSort<T, dimension>(sorted.x, sorted.y, sorted.z, sorted.levelStarts, image);
    sorted.highestLabel = 0;
    return sorted;
}

template <class T, int dimension>
Sorted SortedPixels(const IImage& image, const IImage& seeds) {
    Sorted sorted;
    sorted.levels = GetHistogramAndPixelSort<T, dimension>(sorted.x, sorted.y, sorted.z, sorted.levelStarts,
                                                           image, seeds, sorted.highestLabel);
    return sorted;
}

template <class T>
struct Pixel {
    T value;
    std::uint16_t x;
    std::uint16_t y;
    std::uint16_t z;
};

/// The same by a comparison sort. `labels` is empty without seeds.
template <class T>
Sorted Expected(const CSize& size, const std::vector<T>& values, const std::vector<std::uint32_t>& labels) {
    std::vector<Pixel<T>> pixels;
    Sorted expected{{}, {}, {}, {0}, 0, 0};
    std::size_t i = 0;
    for (std::int64_t z = 0; z < (size.Dim() > 2 ? size.z : 1); ++z) {
        for (std::int64_t y = 0; y < size.y; ++y) {
            for (std::int64_t x = 0; x < size.x; ++x, ++i) {
                const std::uint32_t label = labels.empty() ? 0 : labels[i];
                expected.highestLabel = std::max(expected.highestLabel, label);
                if (label == 0)
                    pixels.push_back({values[i], static_cast<std::uint16_t>(x), static_cast<std::uint16_t>(y),
                                      static_cast<std::uint16_t>(z)});
            }
        }
    }
    std::ranges::stable_sort(pixels, std::less<>(), &Pixel<T>::value);
    for (const auto& pixel : pixels) {
        expected.x.push_back(pixel.x);
        expected.y.push_back(pixel.y);
        expected.z.push_back(pixel.z);
    }
    if constexpr (sizeof(T) < 4) {
        for (unsigned value = 0; value <= std::numeric_limits<T>::max(); ++value)
            expected.levelStarts.push_back(static_cast<std::uint64_t>(
                std::ranges::upper_bound(pixels, static_cast<T>(value), std::less<>(), &Pixel<T>::value) -
                pixels.begin()));
    } else {
        for (std::size_t place = 1; place <= pixels.size(); ++place) {
            if (place == pixels.size() || pixels[place - 1].value != pixels[place].value)
                expected.levelStarts.push_back(place);
        }
    }
    expected.levels = static_cast<std::uint32_t>(expected.levelStarts.size() - 1);
    return expected;
}

template <class T>
std::vector<std::uint32_t> Widened(const std::vector<T>& labels) {
    return {labels.begin(), labels.end()};
}

/// An image of seeds of any type: most pixels without a label, and the labels it holds.
std::pair<std::unique_ptr<CImage>, std::vector<std::uint32_t>> RandomSeeds(const CSize& size,
                                                                           std::mt19937& random) {
    const auto make = [&]<class L>(std::type_identity<L>, const IImage::CType& type, double highest) {
        auto image = test::RandomImage<L>(type, size, random, 0, highest + 0.999);
        std::vector<L> labels = test::PixelsOf<L>(*image);
        for (L& label : labels)
            label = random() % 3 == 0 ? label : L{0};
        return std::pair(test::ImageOf<L>(type, size, labels), Widened(labels));
    };
    switch (random() % 4) {
    case 0:
        return make(std::type_identity<unsigned char>(), IMAGE_GREY_8, 255);
    case 1:
        return make(std::type_identity<unsigned char>(), IMAGE_BINARY_FG, 1);
    case 2:
        return make(std::type_identity<unsigned short>(), IMAGE_GREY_16, 65535);
    default:
        return make(std::type_identity<unsigned int>(), IMAGE_GREY_32, 4294967294.0);
    }
}

/// Few values or many; among few floats there are both zeros and both infinities.
template <class T>
std::vector<T> RandomValues(std::size_t count, std::mt19937& random) {
    std::vector<T> values(count);
    const bool hasFew = random() % 2 == 0;
    for (T& value : values) {
        if constexpr (std::is_same_v<T, float>) {
            constexpr std::array few{-infinity, -2.5F, -0.0F, 0.0F, 1e-45F, 2.5F, infinity};
            value = hasFew ? few.at(random() % few.size())
                           : std::uniform_real_distribution<float>(-1e5F, 1e5F)(random);
        } else {
            value = static_cast<T>(hasFew ? std::numeric_limits<T>::max() - random() % 4 : random());
        }
    }
    return values;
}

template <class T>
void CompareWithComparisonSort(const IImage::CType& type, unsigned firstSeed) {
    for (const unsigned seed : test::CRandomSeeds(firstSeed, firstSeed + 100)) {
        std::mt19937 random(seed);
        const auto upTo = [&](unsigned most) { return static_cast<std::int64_t>(random() % (most + 1)); };
        const bool isVolume = seed % 2 == 0;
        const CSize size = isVolume ? CSize(upTo(8), upTo(8), upTo(8)) : CSize(upTo(12), upTo(12));
        const auto values = RandomValues<T>(static_cast<std::size_t>(size.PixelCount()), random);
        const auto image = test::ImageOf<T>(type, size, values);
        const auto [seeds, labels] = RandomSeeds(size, random);
        const CapturedOutput silence;
        if (isVolume) {
            EXPECT_EQ((SortedPixels<T, 3>(*image)), Expected(size, values, {}));
            EXPECT_EQ((SortedPixels<T, 3>(*image, *seeds)), Expected(size, values, labels));
        } else {
            EXPECT_EQ((SortedPixels<T, 2>(*image)), Expected(size, values, {}));
            EXPECT_EQ((SortedPixels<T, 2>(*image, *seeds)), Expected(size, values, labels));
        }
    }
}

template <class T>
std::unique_ptr<CImage> Constant(const IImage::CType& type, const CSize& size, T value) {
    return test::ImageOf<T>(type, size, std::vector<T>(static_cast<std::size_t>(size.PixelCount()), value));
}

} // namespace

TEST(PixelSort, AgreesWithAComparisonSortOf8BitImages) {
    CompareWithComparisonSort<unsigned char>(IMAGE_GREY_8, 1000);
}

TEST(PixelSort, AgreesWithAComparisonSortOf16BitImages) {
    CompareWithComparisonSort<unsigned short>(IMAGE_GREY_16, 2000);
}

TEST(PixelSort, AgreesWithAComparisonSortOf32BitImages) {
    CompareWithComparisonSort<unsigned int>(IMAGE_GREY_32, 3000);
}

TEST(PixelSort, AgreesWithAComparisonSortOfFloatImages) {
    CompareWithComparisonSort<float>(IMAGE_GREY_F, 4000);
}

TEST(PixelSort, AgreesWithAComparisonSortWhereManyPixelsShareABin) {
    // Which bits of the trailing half differ.
    for (const unsigned bits : {0x0000U, 0x0003U, 0x00FFU, 0x0300U, 0xFF00U, 0x8001U, 0xFFFFU}) {
        std::mt19937 random(bits);
        // Two bins of many pixels and, among them, many bins of few.
        const CSize size(20, 20, 5);
        std::vector<unsigned int> values(static_cast<std::size_t>(size.PixelCount()));
        for (unsigned int& value : values) {
            const auto rare = static_cast<unsigned int>(0x8001U + random() % 200);
            const std::array<unsigned int, 6> bins{0x7FFF, 0x7FFF, 0x7FFF, 0x8000, 0x8000, rare};
            value = bins.at(random() % bins.size()) << 16 |
                    (0x1234U ^ (static_cast<unsigned int>(random()) & bits));
        }
        const auto image = test::ImageOf<unsigned int>(IMAGE_GREY_32, size, values);
        const auto [seeds, labels] = RandomSeeds(size, random);
        const CapturedOutput silence;
        EXPECT_EQ((SortedPixels<unsigned int, 3>(*image)), Expected(size, values, {})) << bits;
        EXPECT_EQ((SortedPixels<unsigned int, 3>(*image, *seeds)), Expected(size, values, labels)) << bits;
    }
}

TEST(PixelSort, KeepsRasterOrderWithinALevel) {
    const CapturedOutput silence;
    const auto image = test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(2, 2, 2), {5, 3, 3, 5, 5, 3, 5, 3});
    const Sorted sorted = SortedPixels<unsigned char, 3>(*image);
    EXPECT_EQ(sorted.x, (std::vector<std::uint16_t>{1, 0, 1, 1, 0, 1, 0, 0}));
    EXPECT_EQ(sorted.y, (std::vector<std::uint16_t>{0, 1, 0, 1, 0, 1, 0, 1}));
    EXPECT_EQ(sorted.z, (std::vector<std::uint16_t>{0, 0, 1, 1, 0, 0, 1, 1}));
    EXPECT_EQ(sorted.levelStarts[3], 0U);
    EXPECT_EQ(sorted.levelStarts[4], 4U);
    EXPECT_EQ(sorted.levelStarts[5], 4U);
    EXPECT_EQ(sorted.levelStarts[6], 8U);
}

TEST(PixelSort, ConstantByteImageHasAllPixelsInOneOf256Levels) {
    const CapturedOutput silence;
    for (const unsigned value : {0U, 17U, 255U}) {
        const auto image = Constant(IMAGE_GREY_8, CSize(5, 4, 3), static_cast<unsigned char>(value));
        const Sorted sorted = SortedPixels<unsigned char, 3>(*image);
        EXPECT_EQ(sorted.levels, 256U);
        ASSERT_EQ(sorted.levelStarts.size(), 257U);
        for (unsigned level = 0; level <= 256; ++level)
            EXPECT_EQ(sorted.levelStarts[level], level <= value ? 0U : 60U);
        EXPECT_EQ(sorted.x.size(), 60U);
    }
}

TEST(PixelSort, ConstantFloatImageHasOneLevel) {
    const CapturedOutput silence;
    const auto image = Constant(IMAGE_GREY_F, CSize(5, 4), -1.5F);
    const Sorted sorted = SortedPixels<float, 2>(*image);
    EXPECT_EQ(sorted.levels, 1U);
    EXPECT_EQ(sorted.levelStarts, (std::vector<std::uint64_t>{0, 20}));
}

TEST(PixelSort, SeedsOnEveryPixelLeaveNothingToPlace) {
    const CapturedOutput silence;
    const CSize size(4, 3, 2);
    const auto seeds = Constant<unsigned short>(IMAGE_GREY_16, size, 500);
    const auto expectEmpty = [](const Sorted& sorted, std::uint32_t levels) {
        EXPECT_EQ(sorted.levels, levels);
        EXPECT_EQ(sorted.levelStarts, std::vector<std::uint64_t>(levels + 1, 0));
        EXPECT_TRUE(sorted.x.empty() && sorted.y.empty() && sorted.z.empty());
        EXPECT_EQ(sorted.highestLabel, 500U);
    };
    expectEmpty(SortedPixels<unsigned char, 3>(*Constant<unsigned char>(IMAGE_GREY_8, size, 3), *seeds), 256);
    expectEmpty(SortedPixels<unsigned short, 3>(*Constant<unsigned short>(IMAGE_GREY_16, size, 3), *seeds),
                65536);
    expectEmpty(SortedPixels<unsigned int, 3>(*Constant<unsigned int>(IMAGE_GREY_32, size, 3), *seeds), 0);
    expectEmpty(SortedPixels<float, 3>(*Constant<float>(IMAGE_GREY_F, size, 3), *seeds), 0);
}

TEST(PixelSort, SeedsOfZerosChangeNothing) {
    const CapturedOutput silence;
    std::mt19937 random(7);
    const CSize size(6, 5, 4);
    const auto floats = test::RandomImage<float>(IMAGE_GREY_F, size, random, 0, 1);
    const auto bytes = test::RandomImage<unsigned char>(IMAGE_GREY_8, size, random, 0, 9);
    for (const auto& type : {IMAGE_GREY_8, IMAGE_BINARY_FG, IMAGE_GREY_16, IMAGE_GREY_32}) {
        const CImage seeds(type, size, CSize(0, 0, 0));
        const Sorted seededFloats = SortedPixels<float, 3>(*floats, seeds);
        EXPECT_EQ(seededFloats, (SortedPixels<float, 3>(*floats)));
        EXPECT_EQ(seededFloats.highestLabel, 0U);
        EXPECT_EQ((SortedPixels<unsigned char, 3>(*bytes, seeds)), (SortedPixels<unsigned char, 3>(*bytes)));
    }
}

TEST(PixelSort, PlaneHasZerosInItsListOfZ) {
    const CapturedOutput silence;
    std::mt19937 random(3);
    const auto image = test::RandomImage<unsigned short>(IMAGE_GREY_16, CSize(7, 5), random, 0, 5);
    EXPECT_EQ((SortedPixels<unsigned short, 2>(*image)).z, std::vector<std::uint16_t>(35, 0));
}

TEST(PixelSort, BinaryImageIsSortedLikeAByteImage) {
    const CapturedOutput silence;
    const std::vector<unsigned char> pixels{1, 0, 1, 255, 0, 7};
    const auto binary = test::ImageOf<unsigned char>(IMAGE_BINARY_FG, CSize(3, 2), pixels);
    const auto bytes = test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(3, 2), pixels);
    const Sorted sorted = SortedPixels<unsigned char, 2>(*binary);
    EXPECT_EQ(sorted, (SortedPixels<unsigned char, 2>(*bytes)));
    EXPECT_EQ(sorted.levels, 256U);
}

TEST(PixelSort, SeededPixelsAreInNoLevel) {
    const CapturedOutput silence;
    const auto image = test::ImageOf<unsigned int>(IMAGE_GREY_32, CSize(4, 1), {90, 10, 50, 10});
    const auto seeds = test::ImageOf<unsigned int>(IMAGE_GREY_32, CSize(4, 1), {0, 0xFFFFFFFF, 3, 0});
    const Sorted sorted = SortedPixels<unsigned int, 2>(*image, *seeds);
    EXPECT_EQ(sorted.levels, 2U) << "the value of a seeded pixel alone is no level";
    EXPECT_EQ(sorted.levelStarts, (std::vector<std::uint64_t>{0, 1, 2}));
    EXPECT_EQ(sorted.x, (std::vector<std::uint16_t>{3, 0}));
    EXPECT_EQ(sorted.highestLabel, 0xFFFFFFFFU);
}

TEST(PixelSort, BothZerosAreOneLevelInRasterOrder) {
    const CapturedOutput silence;
    const auto image = test::ImageOf<float>(IMAGE_GREY_F, CSize(5, 1), {0.0F, -0.0F, 1e-45F, -0.0F, -1e-45F});
    const Sorted sorted = SortedPixels<float, 2>(*image);
    EXPECT_EQ(sorted.levels, 3U);
    EXPECT_EQ(sorted.levelStarts, (std::vector<std::uint64_t>{0, 1, 4, 5}));
    EXPECT_EQ(sorted.x, (std::vector<std::uint16_t>{4, 0, 1, 3, 2}));
}

TEST(PixelSort, AllNaNMakeTheLastLevel) {
    const CapturedOutput silence;
    const auto image = test::ImageOf<float>(IMAGE_GREY_F, CSize(7, 1),
                                            {notANumber, 3, -notANumber, infinity, 3, -infinity, notANumber});
    const Sorted sorted = SortedPixels<float, 2>(*image);
    EXPECT_EQ(sorted.levels, 4U);
    EXPECT_EQ(sorted.levelStarts, (std::vector<std::uint64_t>{0, 1, 3, 4, 7}));
    EXPECT_EQ(sorted.x, (std::vector<std::uint16_t>{5, 1, 4, 3, 0, 2, 6}));
    const auto onlyNaN = Constant(IMAGE_GREY_F, CSize(3, 2), notANumber);
    EXPECT_EQ((SortedPixels<float, 2>(*onlyNaN)).levelStarts, (std::vector<std::uint64_t>{0, 6}));
}

TEST(PixelSort, FollowsTheStridesOfImageAndSeeds) {
    const CapturedOutput silence;
    std::mt19937 random(11);
    const CSize size(6, 5, 4);
    const auto plain = test::RandomImage<float>(IMAGE_GREY_F, size, random, 0, 1);
    const auto plainSeeds = test::RandomImage<unsigned char>(IMAGE_GREY_8, size, random, 0, 1.5);
    test::FakeImage image(IMAGE_GREY_F, size, CPos(-8, 64, 400), 1600, 48);
    CImage seeds(IMAGE_GREY_8, size, CSize(1, 2, 3));
    const CImageView<const float> from(*plain);
    const CImageView<const unsigned char> fromSeeds(*plainSeeds);
    const CImageView<unsigned char> toSeeds(seeds);
    for (std::int64_t z = 0; z < size.z; ++z) {
        for (std::int64_t y = 0; y < size.y; ++y) {
            for (std::int64_t x = 0; x < size.x; ++x) {
                image.SetPixel(x, y, z, from.Row(y, z)[x]);
                toSeeds.Row(y, z)[x] = fromSeeds.Row(y, z)[x];
            }
        }
    }
    EXPECT_EQ((SortedPixels<float, 3>(image)), (SortedPixels<float, 3>(*plain)));
    EXPECT_EQ((SortedPixels<float, 3>(image, seeds)), (SortedPixels<float, 3>(*plain, *plainSeeds)));
}

TEST(PixelSort, RefusesOtherTypesOfSeeds) {
    const CapturedOutput silence;
    const CImage image(IMAGE_GREY_8, CSize(2, 2), CSize(0, 0));
    for (const auto& type : {IMAGE_GREY_F, IMAGE_COMPLEX_F, IMAGE_BINARY_BG}) {
        const CImage seeds(type, CSize(2, 2), CSize(0, 0));
        const auto raised = Raised<CException>([&] { SortedPixels<unsigned char, 2>(image, seeds); });
        EXPECT_STREQ(raised.Source(), "GetHistogramAndPixelSort");
        EXPECT_EQ(std::string(raised.Message()),
                  std::string("Image type ") + type.ToString() + " not supported.");
    }
}

TEST(PixelSort, RaisesForImagesOfOtherPixelsOrSizes) {
    const CapturedOutput silence;
    const CImage image(IMAGE_GREY_8, CSize(2, 2), CSize(0, 0));
    const CImage seeds(IMAGE_GREY_8, CSize(2, 3), CSize(0, 0));
    EXPECT_STREQ((Raised<CException>([&] { SortedPixels<float, 2>(image); }).Message()),
                 "input image: Pixel type 'f' and image type 'f' do not match -- unregistered image type?.");
    EXPECT_STREQ((Raised<CException>([&] { SortedPixels<unsigned char, 2>(image, seeds); }).Message()),
                 "first image and second image: image sizes (2,2,) and (2,3,) do not match.");
}

TEST(PixelSort, RunsACountingAndASortingVisitor) {
    const CImage image(IMAGE_GREY_16, CSize(2, 2), CSize(0, 0));
    HostProgress host;
    const CapturedOutput output;
    SortedPixels<unsigned short, 2>(image);
    EXPECT_EQ(output.Text(),
              std::string("DEBUG************* access is readonly visitor=") +
                  typeid(visitors::CAnalyzerHistogram<unsigned short, std::size_t>).name() +
                  " image=N5ORVEN6IImageE pixeltype=t\n" + "DEBUG************* access is readonly visitor=" +
                  typeid(visitors::CDistributivePixelSortByHistogram<unsigned short, 2>).name() +
                  " image=N5ORVEN6IImageE pixeltype=t\n");
    EXPECT_EQ(host.texts,
              (std::vector<std::string>{"ORVEN::Impl::VisitorHelper<0>::VisitImageData processing...",
                                        "ORVEN::Impl::VisitorHelper<2>::VisitImageData processing..."}));
    EXPECT_EQ(host.steps, 8);
}

namespace {

template <class T>
void ExpectTheCountOfValuesIsNamed(const IImage::CType& type) {
    const CImage image(type, CSize(2, 2), CSize(0, 0));
    const CapturedOutput output;
    SortedPixels<T, 2>(image);
    const std::string pixel = typeid(T).name();
    const std::string begin = "DEBUG************* access is readonly visitor=N5ORVEN8visitors";
    const std::string end = " image=N5ORVEN6IImageE pixeltype=" + pixel + "\n";
    // CAnalyzerCountValues<T, size_t>, then the sorter of T in two dimensions.
    EXPECT_EQ(output.Text(), begin + "20CAnalyzerCountValuesI" + pixel + "mEE" + end + begin +
                                 "34CDistributivePixelSortByValueCountI" + pixel + "Li2EEE" + end);
}

} // namespace

TEST(PixelSort, NamesTheCountOfValuesFor32BitsAndForFloats) {
    ExpectTheCountOfValuesIsNamed<unsigned int>(IMAGE_GREY_32);
    ExpectTheCountOfValuesIsNamed<float>(IMAGE_GREY_F);
}

namespace {

template <class T>
void ExpectTheLevelsOfTheCountOfValues(const CImage& image) {
    const CapturedOutput silence;
    visitors::CAnalyzerCountValues<T, std::size_t> values;
    EXPECT_TRUE(test::Traverse(values, image));
    std::vector<std::uint64_t> levelStarts{0};
    for (const auto& [value, count] : values.counts)
        levelStarts.push_back(levelStarts.back() + count);
    const Sorted sorted = SortedPixels<T, 3>(image);
    EXPECT_EQ(sorted.levels, values.counts.size());
    EXPECT_EQ(sorted.levelStarts, levelStarts);
}

} // namespace

TEST(PixelSort, LevelsAreTheEntriesOfTheCountOfValues) {
    for (const unsigned seed : test::CRandomSeeds(1, 11)) {
        std::mt19937 random(seed);
        const double greatest = seed % 2 == 0 ? 20.0 : 4e9;
        const CSize size(17, 13, 15);
        ExpectTheLevelsOfTheCountOfValues<unsigned int>(
            *test::RandomImage<unsigned int>(IMAGE_GREY_32, size, random, 0, greatest));
        const auto floats = test::RandomImage<float>(IMAGE_GREY_F, size, random, -greatest, greatest);
        const CImageView<float> view(*floats);
        for (const float special : {notANumber, -notANumber, infinity, -infinity, 0.0F, -0.0F})
            view.Row(random() % 13, random() % 15)[random() % 17] = special;
        ExpectTheLevelsOfTheCountOfValues<float>(*floats);
    }
}

TEST(PixelSort, RunsVisitorsOfImageAndSeedsSideBySide) {
    const CImage image(IMAGE_GREY_F, CSize(2, 2, 2), CSize(0, 0, 0));
    const CImage seeds(IMAGE_GREY_8, CSize(2, 2, 2), CSize(0, 0, 0));
    const CapturedOutput output;
    SortedPixels<float, 3>(image, seeds);
    const auto lines = [](const std::type_info& visitor) {
        return std::string("DEBUG************* access0 is readonly visitor=") + visitor.name() +
               " image=N5ORVEN6IImageE pixeltype=f\n" +
               "DEBUG************* access1 is readonly visitor=" + visitor.name() +
               " image=N5ORVEN6IImageE pixeltype=h\n";
    };
    EXPECT_EQ(output.Text(),
              lines(typeid(visitors::CAnalyzerCountValuesOnlyInUnlabeledRegions<float, unsigned char>)) +
                  lines(typeid(visitors::CDistributivePixelSortByValueCountOnlyInUnlabeledRegions<
                               float, unsigned char, 3>)));
}

TEST(PixelSort, CancelledCountSortsNothingWhateverTheSinkReportsLater) {
    // Questions of the count over 2 x 3 x 2 pixels: one a plane and one a line. A sink may take the
    // cancellation back at any later question; the counts are incomplete all the same.
    constexpr int questionsOfTheCount = 2 * (1 + 3);
    std::mt19937 random(5);
    const CSize size(2, 3, 2);
    const auto image = test::RandomImage<float>(IMAGE_GREY_F, size, random, 0, 1);
    const auto bytes = test::RandomImage<unsigned char>(IMAGE_GREY_8, size, random, 0, 255);
    const auto seeds = test::RandomImage<unsigned char>(IMAGE_GREY_8, size, random, 0, 1.5);
    for (int question = 0; question < questionsOfTheCount; ++question) {
        for (const bool stays : {true, false}) {
            SCOPED_TRACE(question);
            HostProgress host;
            host.staysCancelled = stays;
            const CapturedOutput silence;
            const auto expectEmpty = [&](const auto& sort) {
                host.cancelAt = host.questions + question;
                host.wasCancelled = false;
                const Sorted sorted = sort();
                EXPECT_EQ(sorted.levels, 0U);
                EXPECT_TRUE(sorted.x.empty() && sorted.y.empty() && sorted.z.empty());
                EXPECT_TRUE(sorted.levelStarts.empty());
            };
            expectEmpty([&] { return SortedPixels<float, 3>(*image); });
            expectEmpty([&] { return SortedPixels<float, 3>(*image, *seeds); });
            expectEmpty([&] { return SortedPixels<unsigned char, 3>(*bytes); });
            expectEmpty([&] { return SortedPixels<unsigned char, 3>(*bytes, *seeds); });
        }
    }
}

TEST(PixelSort, CancelledSortHasListsOfFullLengthPartlyFilled) {
    const auto image = test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(3, 2), {1, 2, 3, 4, 5, 6});
    HostProgress host;
    host.cancelAt = 3 + 1; // the second line of the second pass
    const CapturedOutput silence;
    const Sorted sorted = SortedPixels<unsigned char, 2>(*image);
    EXPECT_EQ(sorted.levels, 256U);
    EXPECT_EQ(sorted.x, (std::vector<std::uint16_t>{0, 1, 2, 0, 0, 0}));
    EXPECT_EQ(sorted.y, std::vector<std::uint16_t>(6, 0));
}

/// A volume of floats that all share the bin of one leading half, and differ in the trailing ones.
std::unique_ptr<CImage> FloatsOfOneBin(const CSize& size) {
    std::mt19937 random(11);
    return test::RandomImage<float>(IMAGE_GREY_F, size, random, 1.0, 1.007);
}

TEST(PixelSort, AsksAtEachLineOfAllItsPassesThoughAllPixelsShareABin) {
    constexpr std::int64_t lines = 30 * 20;
    constexpr std::int64_t questionsOfATraversal = lines + 20 + 1;
    const CSize size(10, 30, 20);
    const auto seeds = test::ImageOf<unsigned char>(IMAGE_GREY_8, size, {1});
    const auto expectPasses = [&](const CImage& image, std::int64_t passes) {
        HostProgress host;
        const CapturedOutput silence;
        SortedPixels<float, 3>(image);
        EXPECT_EQ(host.questions, 2 * questionsOfATraversal + passes * lines);
        host.questions = 0;
        SortedPixels<float, 3>(image, *seeds);
        EXPECT_EQ(host.questions, 2 * questionsOfATraversal + passes * lines);
    };
    // The bin is counted and dealt out twice; then its levels are counted and listed.
    expectPasses(*FloatsOfOneBin(size), 5);
    // Equal pixels are not dealt out.
    expectPasses(CImage(IMAGE_GREY_F, size, CSize()), 3);
}

TEST(PixelSort, AsksWhileItTouchesTheMemoryForManyPixels) {
    const CImage image(IMAGE_GREY_8, CSize(1, 1 << 20, 1), CSize(0, 0, 0));
    HostProgress host;
    const CapturedOutput silence;
    SortedPixels<unsigned char, 3>(image);
    constexpr std::int64_t questionsOfATraversal = (1 << 20) + 1 + 1;
    EXPECT_EQ(host.questions, 2 * questionsOfATraversal + 3); // one for each list

    host.questions = 0;
    host.cancelAt = questionsOfATraversal + 1;
    const Sorted sorted = SortedPixels<unsigned char, 3>(image);
    EXPECT_EQ(host.questions, host.cancelAt + 1);
    EXPECT_EQ(sorted.levels, 0U);
    EXPECT_TRUE(sorted.x.empty() && sorted.y.empty() && sorted.z.empty() && sorted.levelStarts.empty());
}

TEST(PixelSort, CancelledWhileItSortsABinItHandsOutNothing) {
    const auto image = FloatsOfOneBin(CSize(4, 5, 3));
    constexpr int questionsOfTheTraversals = 2 * (3 * (5 + 1) + 1);
    constexpr int questionsOfTheBin = 5 * 15;
    for (int question = 0; question < questionsOfTheBin; ++question) {
        for (const bool stays : {true, false}) {
            HostProgress host;
            host.cancelAt = questionsOfTheTraversals + question;
            host.staysCancelled = stays;
            const CapturedOutput silence;
            const Sorted sorted = SortedPixels<float, 3>(*image);
            EXPECT_EQ(sorted.levels, 0U) << question;
            EXPECT_TRUE(sorted.x.empty() && sorted.levelStarts.empty()) << question;
        }
    }
}
