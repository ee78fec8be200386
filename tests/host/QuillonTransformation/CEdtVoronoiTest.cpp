#include "oracles/DistanceOracle.h"
#include "support/CRandomSeeds.h"
#include "support/CRecordingProgress.h"
#include "support/Raised.h"

#include <QuillonBase/Parallel.h>
#include <QuillonTransformation/CEdtVoronoi.h>
#include <QuillonTransformation/distance/SquaredDistances.h>
#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <limits>
#include <optional>
#include <string>

namespace {

using namespace ORVEN;
using Bytes = std::vector<unsigned char>;
using Floats = std::vector<float>;
using Integers = std::vector<unsigned>;
using Spacing = std::array<double, 3>;

constexpr float c_none = std::numeric_limits<float>::max();
constexpr unsigned c_noneInteger = std::numeric_limits<unsigned>::max();

CSize Line(std::int64_t length) {
    CSize size(length, 1, 1);
    size.SetDim(1);
    return size;
}

std::unique_ptr<CImage> Binary(const CSize& size, const Bytes& pixels) {
    return test::ImageOf(IMAGE_BINARY_FG, size, pixels);
}

struct StMode {
    bool usesSpacing = true;
    bool onForeground = true;
    bool squared = true;
    bool isEmbedded = false;
};

std::string ToString(const StMode& mode) {
    return std::string(mode.onForeground ? "foreground" : "background") +
           (mode.squared ? ", squared" : ", exact") + (mode.isEmbedded ? ", embedded" : "");
}

template <class T>
std::vector<T> Map(const IImage& binary, const StMode& mode) {
    CImage map(sizeof(T) == 4 && std::is_integral_v<T> ? IMAGE_GREY_32 : IMAGE_GREY_F, binary.Size(),
               CSize(0, 0, 0));
    CEdtVoronoi(nullptr, nullptr)
        .CalculateDistanceMap(map, binary, mode.usesSpacing, mode.onForeground, mode.squared,
                              mode.isEmbedded);
    return test::PixelsOf<T>(map);
}

StMode RandomMode(std::mt19937& random) {
    return {true, random() % 2 == 0, random() % 2 == 0, random() % 2 == 0};
}

std::array<double, 3> Squares(const Spacing& spacing) {
    return {spacing[0] * spacing[0], spacing[1] * spacing[1], spacing[2] * spacing[2]};
}

/// The oracle's map: 0 where there is no seed.
template <class T>
std::vector<T> Expected(const IImage& binary, const StMode& mode, const std::array<double, 3>& weights,
                        float factor = 1.0F) {
    std::vector<T> expected;
    for (const double square :
         test::SquaredDistances(test::SeedsOf(binary, mode.onForeground, mode.isEmbedded), weights)) {
        const T stored =
            square == test::c_noDistance ? T{0} : static_cast<T>(square) * static_cast<T>(factor);
        expected.push_back(mode.squared ? stored : static_cast<T>(std::sqrt(static_cast<double>(stored))));
    }
    return expected;
}

/// Opens the one-line transform to the tests.
class CLines : public CEdtVoronoi {
public:
    CLines()
        : CEdtVoronoi(nullptr, nullptr) {}
    using CEdtVoronoi::COpenImage;
    using CEdtVoronoi::VoronoiEdt;

    template <class T>
    std::vector<T> Transformed(const std::vector<T>& line, double spacing, bool isEmbedded) {
        const auto image = test::ImageOf(std::is_same_v<T, float> ? IMAGE_GREY_F : IMAGE_GREY_32,
                                         Line(static_cast<std::int64_t>(line.size())), line);
        VoronoiEdt(*image, 0, spacing, CPos(0, 0, 0), isEmbedded);
        return test::PixelsOf<T>(*image);
    }
};

class CEdtVoronoiThreads : public testing::Test {
protected:
    ~CEdtVoronoiThreads() override { SetThreadCount(0); }
};

} // namespace

TEST(VoronoiEdt, MeasuresALine) {
    CLines lines;
    EXPECT_EQ(lines.Transformed<float>({0, c_none, c_none, c_none, 0}, 1.0, false), (Floats{0, 1, 4, 1, 0}));
    EXPECT_EQ(lines.Transformed<float>({c_none, c_none, 0}, 1.5, false), (Floats{9, 2.25F, 0}));
    EXPECT_EQ(lines.Transformed<unsigned>({0, c_noneInteger, c_noneInteger}, 3.0, false),
              (Integers{0, 9, 36}));
    EXPECT_EQ(lines.Transformed<unsigned>({0, c_noneInteger, c_noneInteger}, 1.6, false),
              (Integers{0, 3, 12}));
}

TEST(VoronoiEdt, LeavesALineWithoutASeedAsItIs) {
    CLines lines;
    EXPECT_EQ(lines.Transformed<float>(Floats(5, c_none), 1.0, false), Floats(5, c_none));
    EXPECT_EQ(lines.Transformed<unsigned>(Integers(5, c_noneInteger), 1.0, false),
              Integers(5, c_noneInteger));
}

TEST(VoronoiEdt, PutsSeedsJustOutsideAnEmbeddedLine) {
    CLines lines;
    EXPECT_EQ(lines.Transformed<float>(Floats(5, c_none), 1.0, true), (Floats{1, 4, 9, 4, 1}));
    EXPECT_EQ(lines.Transformed<float>(Floats(5, c_none), 2.0, true), (Floats{4, 16, 36, 16, 4}));
    EXPECT_EQ(lines.Transformed<unsigned>(Integers(4, c_noneInteger), 1.0, true), (Integers{1, 4, 4, 1}));
    EXPECT_EQ(lines.Transformed<float>({c_none}, 1.0, true), (Floats{1}));
}

TEST(VoronoiEdt, TakesUpDistancesFoundAlongOtherAxes) {
    CLines lines;
    for (const unsigned seed : test::CRandomSeeds(0, 2000)) {
        std::mt19937 random(seed);
        Floats line(1 + random() % 40);
        const auto range = 1 + random() % (seed % 2 == 0 ? 12 : 1000);
        for (float& value : line)
            value = random() % 4 == 0 ? c_none : static_cast<float>(random() % range);
        const bool isEmbedded = random() % 2 == 0;
        const auto spacing = static_cast<double>(1 + random() % 3);
        Floats expected = line;
        for (std::size_t x = 0; x < line.size(); ++x) {
            const auto take = [&](double value, double distance) {
                const auto candidate = static_cast<float>(value + spacing * spacing * distance * distance);
                expected[x] = std::min(expected[x], candidate);
            };
            for (std::size_t site = 0; site < line.size(); ++site) {
                if (line[site] < c_none)
                    take(line[site], static_cast<double>(site) - static_cast<double>(x));
            }
            if (isEmbedded) {
                take(0.0, static_cast<double>(x + 1));
                take(0.0, static_cast<double>(line.size() - x));
            }
        }
        EXPECT_EQ(lines.Transformed(line, spacing, isEmbedded), expected);
    }
}

TEST(VoronoiEdt, TransformsOneLineAlongAnyAxisAndNoOther) {
    const CSize size(3, 4, 5);
    for (unsigned long axis = 0; axis < 3; ++axis) {
        for (const bool isOpen : {false, true}) {
            CImage image(IMAGE_GREY_F, size, CSize(1, 2, 3));
            const CImageView<float> view(image);
            for (std::int64_t z = 0; z < size.z; ++z) {
                for (std::int64_t y = 0; y < size.y; ++y)
                    std::fill_n(view.Row(y, z), size.x, c_none);
            }
            CPos start(1, 2, 3);
            start[static_cast<std::int64_t>(axis)] = 0;
            view.Row(start.y, start.z)[start.x] = 0;
            CLines lines;
            std::optional<CLines::COpenImage> open;
            if (isOpen)
                open.emplace(lines, image);
            lines.VoronoiEdt(image, axis, 1.0, start, false);
            for (std::int64_t z = 0; z < size.z; ++z) {
                for (std::int64_t y = 0; y < size.y; ++y) {
                    for (std::int64_t x = 0; x < size.x; ++x) {
                        const std::array<std::int64_t, 3> place{x, y, z};
                        const auto distance = static_cast<float>(place[axis]);
                        bool isOnLine = true;
                        for (std::size_t other = 0; other < 3; ++other) {
                            isOnLine = isOnLine && (other == axis ||
                                                    place[other] == start[static_cast<std::int64_t>(other)]);
                        }
                        EXPECT_EQ(view.Row(y, z)[x], isOnLine ? distance * distance : c_none);
                    }
                }
            }
        }
    }
}

TEST(VoronoiEdt, WorksOnAnotherImageThanTheOpenOne) {
    CLines lines;
    const auto open = test::ImageOf<float>(IMAGE_GREY_F, Line(3), {0, c_none, c_none});
    const auto other = test::ImageOf<float>(IMAGE_GREY_F, Line(3), {c_none, c_none, 0});
    const CLines::COpenImage keeps(lines, *open);
    lines.VoronoiEdt(*other, 0, 1.0, CPos(0, 0, 0), false);
    EXPECT_EQ(test::PixelsOf<float>(*other), (Floats{4, 1, 0}));
    EXPECT_EQ(test::PixelsOf<float>(*open), (Floats{0, c_none, c_none}));
}

TEST(VoronoiEdt, SurvivesAnySpacing) {
    CLines lines;
    const Floats line{c_none, 5, c_none, 3};
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    for (const double spacing : {nan, infinity, -infinity, 1e200})
        EXPECT_EQ(lines.Transformed(line, spacing, true), line) << spacing;
    EXPECT_EQ(lines.Transformed(line, 0.0, false), Floats(4, 3.0F));
    EXPECT_EQ(lines.Transformed(line, 1e-200, false), Floats(4, 3.0F));
    const float large = std::nextafter(c_none, 0.0F);
    EXPECT_EQ(lines.Transformed(line, 1e100, false), (Floats{large, 5, large, 3}));
    EXPECT_EQ(lines.Transformed<float>({nan, 0, static_cast<float>(-infinity)}, 1.0, false).size(), 3U);
    EXPECT_EQ(lines.Transformed<unsigned>({c_noneInteger, 0, 7}, 1e7, false),
              (Integers{c_noneInteger - 1, 0, 7}));
}

TEST(VoronoiEdt, RaisesForALineThatIsNotThere) {
    CLines lines;
    CImage image(IMAGE_GREY_F, CSize(3, 4), CSize(0, 0, 0));
    for (const auto& [axis, start] :
         {std::pair{2UL, CPos(0, 0)}, {0UL, CPos(0, 4)}, {1UL, CPos(-1, 0)}, {7UL, CPos(0, 0)}}) {
        EXPECT_EQ(std::string(test::Raised<CExBadParam>([&, axis = axis, start = start] {
                                  lines.VoronoiEdt(image, axis, 1.0, start, false);
                              }).Message()),
                  "No line of the image of size (3,4) starts at " + start.ToString() + ".");
    }
    CImage bytes(IMAGE_GREY_8, CSize(3, 4), CSize(0, 0, 0));
    EXPECT_STREQ(
        test::Raised<CException>([&] { lines.VoronoiEdt(bytes, 0, 1.0, CPos(0, 0), false); }).Message(),
        "Image type IMAGE_GREY_8 not supported.");
}

TEST(CEdtVoronoi, MeasuresFromOneSeedInTheMiddle) {
    Bytes pixels(25, 1);
    pixels[12] = 0;
    const auto image = Binary(CSize(5, 5), pixels);
    const Floats squares = Map<float>(*image, {true, true, true, false});
    EXPECT_EQ(squares, (Floats{8, 5, 4, 5, 8, 5, 2, 1, 2, 5, 4, 1, 0, 1, 4, 5, 2, 1, 2, 5, 8, 5, 4, 5, 8}));
    EXPECT_EQ(Map<float>(*image, {true, true, false, false})[0], 2.828427F);
}

TEST(CEdtVoronoi, HonoursTheSpacing) {
    Bytes pixels(8, 1);
    pixels[0] = 0;
    const auto image = Binary(CSize(2, 2, 2), pixels);
    CQuillonHeaderTools::SetSpacing(*image, 1.0, 2.0, 3.0);
    EXPECT_EQ(Map<float>(*image, {true, true, true, false}), (Floats{0, 1, 4, 5, 9, 10, 13, 14}));
    EXPECT_EQ(Map<float>(*image, {false, true, true, false}), (Floats{0, 1, 1, 2, 1, 2, 2, 3}));
}

TEST(CEdtVoronoi, EqualsEverySeedTriedToTheInteger) {
    for (const unsigned seed : test::CRandomSeeds(0, 400)) {
        std::mt19937 random(seed);
        const auto image = test::RandomBinary(random, test::RandomSize(random, seed % 8 == 0 ? 33 : 16));
        const StMode mode = RandomMode(random);
        SCOPED_TRACE(image->Size().ToString() + ", " + ToString(mode));
        ASSERT_EQ(Map<float>(*image, mode), Expected<float>(*image, mode, {1, 1, 1}));
        ASSERT_EQ(Map<unsigned>(*image, mode), Expected<unsigned>(*image, mode, {1, 1, 1}));
    }
}

TEST(CEdtVoronoi, EqualsEverySeedTriedForPixelsThatAreNoCubes) {
    constexpr std::array<Spacing, 6> spacings{Spacing{1, 2, 3}, {3, 1, 2},      {1.5, 1, 1},
                                              {1, 1, 2},        {0.5, 2, 0.25}, {4, 4, 1}};
    for (const unsigned seed : test::CRandomSeeds(0, 300)) {
        std::mt19937 random(seed);
        const auto image = test::RandomBinary(random, test::RandomSize(random, 17));
        const Spacing& spacing = spacings[seed % spacings.size()];
        CQuillonHeaderTools::SetSpacing(*image, spacing[0], spacing[1], spacing[2]);
        const StMode mode = RandomMode(random);
        SCOPED_TRACE(image->Size().ToString() + ", " + ToString(mode));
        // All these squares are exact in floats.
        ASSERT_EQ(Map<float>(*image, mode), Expected<float>(*image, mode, Squares(spacing)));
    }
}

TEST(CEdtVoronoi, StaysWithinARoundingForAnySpacing) {
    for (const unsigned seed : test::CRandomSeeds(0, 200)) {
        std::mt19937 random(seed);
        const auto image = test::RandomBinary(random, test::RandomSize(random, 16));
        std::uniform_real_distribution<double> exponent(-3.0, 3.0);
        const Spacing spacing{std::exp(exponent(random)), std::exp(exponent(random)),
                              std::exp(exponent(random))};
        CQuillonHeaderTools::SetSpacing(*image, spacing[0], spacing[1], spacing[2]);
        const StMode mode{true, random() % 2 == 0, true, random() % 2 == 0};
        SCOPED_TRACE(image->Size().ToString() + ", " + ToString(mode));
        const Floats map = Map<float>(*image, mode);
        const auto expected = Expected<double>(*image, mode, Squares(spacing));
        for (std::size_t i = 0; i < map.size(); ++i)
            ASSERT_NEAR(map[i], expected[i], 2e-7 * expected[i]) << i;
    }
}

TEST(CEdtVoronoi, ReturnsExactMultiplesForCubicPixels) {
    for (const double length : {0.7, 2.0, 3e-6, 1e5, 0.0}) {
        std::mt19937 random(17);
        const CSize size = length == 2.0 ? CSize(20, 9) : CSize(20, 9, 7);
        const auto image = test::RandomBinary(random, size);
        // The third length is none of a 2-d image's.
        CQuillonHeaderTools::SetSpacing(*image, length, length, size.Dim() == 2 ? 5.0 : length);
        const auto factor = static_cast<float>(length * length);
        for (const bool squared : {true, false}) {
            const StMode mode{true, true, squared, false};
            EXPECT_EQ(Map<float>(*image, mode), Expected<float>(*image, mode, {1, 1, 1}, factor)) << length;
        }
    }
}

TEST(CEdtVoronoi, CutsOffWhatIsTooLargeForAFloat) {
    const auto image = Binary(CSize(3, 1), {0, 1, 1});
    CQuillonHeaderTools::SetSpacing(*image, 1e30, 1e30, 1e30);
    EXPECT_EQ(Map<float>(*image, {true, true, true, false})[2], c_none);
    CQuillonHeaderTools::SetSpacing(*image, 1e30, 1.0, 1.0);
    EXPECT_EQ(Map<float>(*image, {true, true, true, false})[2], std::nextafter(c_none, 0.0F));
}

TEST(CEdtVoronoi, AcceptsPixelsOfLengthZeroAndOfNoLength) {
    const auto image = Binary(CSize(3, 2), {0, 1, 1, 1, 1, 1});
    CQuillonHeaderTools::SetSpacing(*image, 0.0, 1.0, 1.0);
    EXPECT_EQ(Map<float>(*image, {true, true, true, false}), (Floats{0, 0, 0, 1, 1, 1}));
    CQuillonHeaderTools::SetSpacing(*image, std::numeric_limits<double>::quiet_NaN(), 1.0, 1.0);
    EXPECT_EQ(Map<float>(*image, {true, true, true, false}), (Floats{0, 0, 0, 1, 0, 0}));
}

TEST(CEdtVoronoi, RoundsTheSpacingOfAMapOfIntegers) {
    const auto image = Binary(CSize(3, 2), {0, 1, 1, 1, 1, 1});
    CImage map(IMAGE_GREY_32, image->Size(), CSize(0, 0, 0));
    CEdtVoronoi algorithm(nullptr, nullptr);
    CQuillonHeaderTools::SetSpacing(map, 1.6, 2.0, 1.0); // squares 2.56 and 4
    algorithm.CalculateDistanceMap(map, *image, true, true, true, false);
    EXPECT_EQ(test::PixelsOf<unsigned>(map), (Integers{0, 3, 12, 4, 7, 16}));
    algorithm.CalculateDistanceMap(map, *image, true, true, false, false);
    EXPECT_EQ(test::PixelsOf<unsigned>(map), (Integers{0, 1, 3, 2, 2, 4}));
    CQuillonHeaderTools::SetSpacing(map, 50000.0, 50000.0, 1.0);
    algorithm.CalculateDistanceMap(map, *image, true, true, true, false);
    EXPECT_EQ(test::PixelsOf<unsigned>(map),
              (Integers{0, 2500000000U, 4294967294U, 2500000000U, 4294967294U, 4294967294U}));
    CQuillonHeaderTools::SetSpacing(map, 1.0, 1e200, 1.0);
    algorithm.CalculateDistanceMap(map, *image, true, true, true, false);
    EXPECT_EQ(test::PixelsOf<unsigned>(map), (Integers{0, 1, 4, 4294967294U, 4294967294U, 4294967294U}));
}

// A map is made by quicker ways where they do; one line alone goes through the lower envelope.
TEST(CEdtVoronoi, EqualsLineByLineProcessingToTheBit) {
    for (const unsigned seed : test::CRandomSeeds(0, 120)) {
        std::mt19937 random(seed);
        const auto binary = test::RandomBinary(random, test::RandomSize(random, 33));
        const CSize& size = binary->Size();
        std::uniform_real_distribution<double> length(0.2, 3.0);
        const Spacing spacing =
            seed % 4 == 0 ? Spacing{1, 1, 1} : Spacing{length(random), length(random), length(random)};
        CQuillonHeaderTools::SetSpacing(*binary, spacing[0], spacing[1], spacing[2]);
        const bool isEmbedded = random() % 2 == 0;
        SCOPED_TRACE(size.ToString());

        Floats pixels;
        for (const unsigned char pixel : test::PixelsOf<unsigned char>(*binary))
            pixels.push_back(pixel == 0 ? 0.0F : c_none);
        const auto map = test::ImageOf(IMAGE_GREY_F, size, pixels);
        CLines lines;
        const CLines::COpenImage open(lines, *map);
        // An image of one axis is a map of cubes: squares first, the unit last.
        const float factor = size.Dim() == 1 ? static_cast<float>(spacing[0] * spacing[0]) : 1.0F;
        for (int axis = 0; axis < size.Dim(); ++axis) {
            CSize starts = size;
            starts[axis] = 1;
            for (std::int64_t z = 0; z < (size.Dim() > 2 ? starts.z : 1); ++z) {
                for (std::int64_t y = 0; y < (size.Dim() > 1 ? starts.y : 1); ++y) {
                    for (std::int64_t x = 0; x < starts.x; ++x) {
                        const auto k = static_cast<std::size_t>(axis);
                        lines.VoronoiEdt(*map, k, size.Dim() == 1 ? 1.0 : spacing[k], CPos(x, y, z),
                                         isEmbedded);
                    }
                }
            }
        }
        Floats expected = test::PixelsOf<float>(*map);
        for (float& value : expected)
            value = value == c_none ? 0.0F : factor * value;
        ASSERT_EQ(Map<float>(*binary, {true, true, true, isEmbedded}), expected);
    }
}

// Where seeds are few, most groups of lines hold distances that the narrow integers cannot.
TEST(CEdtVoronoi, EqualsEverySeedTriedWhereSeedsAreFarApart) {
    constexpr std::array<std::array<std::int64_t, 3>, 6> sizes{
        {{300, 40, 3}, {40, 300, 3}, {3, 40, 300}, {260, 260, 1}, {33, 20, 180}, {1, 1000, 20}}};
    for (const unsigned seed : test::CRandomSeeds(0, 36)) {
        std::mt19937 random(seed);
        const auto& extents = sizes[seed % sizes.size()];
        const CSize size(extents[0], extents[1], extents[2]);
        Bytes pixels(static_cast<std::size_t>(size.PixelCount()), 1);
        for (unsigned i = 0; i < 1 + random() % 6; ++i)
            pixels[random() % pixels.size()] = 0;
        const auto image = Binary(size, pixels);
        const StMode mode{true, true, true, seed % 5 == 0};
        SCOPED_TRACE(size.ToString() + ", " + ToString(mode));
        ASSERT_EQ(Map<float>(*image, mode), Expected<float>(*image, mode, {1, 1, 1}));
        ASSERT_EQ(Map<unsigned>(*image, mode), Expected<unsigned>(*image, mode, {1, 1, 1}));
    }
}

// Distances of 126 and 127 pixels are the last and the first that the two ways of transforming lines share.
TEST(CEdtVoronoi, CrossesTheEndOfShortDistancesWithoutATrace) {
    for (std::int64_t length = 120; length < 135; ++length) {
        for (const CSize& size : {CSize(length, 2, 2), CSize(2, length, 2), CSize(2, 2, length)}) {
            for (const bool isAtBothEnds : {false, true}) {
                Bytes pixels(static_cast<std::size_t>(size.PixelCount()), 1);
                pixels.front() = 0;
                if (isAtBothEnds)
                    pixels.back() = 0;
                const auto image = Binary(size, pixels);
                const StMode mode{true, true, true, false};
                ASSERT_EQ(Map<float>(*image, mode), Expected<float>(*image, mode, {1, 1, 1}))
                    << size.ToString();
            }
        }
    }
}

TEST(CEdtVoronoi, IsExactUpTo4096PixelsAndRoundsBeyond) {
    for (const CSize& size : {CSize(60000, 2), CSize(2, 60000), CSize(1, 2, 60000)}) {
        Bytes pixels(static_cast<std::size_t>(size.PixelCount()), 1);
        pixels.front() = 0;
        const auto image = Binary(size, pixels);
        const Floats map = Map<float>(*image, {true, true, true, false});
        const Integers integers = Map<unsigned>(*image, {true, true, true, false});
        for (std::size_t i = 0; i < map.size(); ++i) {
            const bool isAlongX = size.x > 2;
            const std::size_t across = isAlongX ? i / 60000 : i % 2;
            const std::size_t along = isAlongX ? i % 60000 : i / 2;
            const std::size_t square =
                size.Dim() == 3 ? (i / 2) * (i / 2) + (i % 2) * (i % 2) : across * across + along * along;
            ASSERT_EQ(integers[i], square) << i;
            if (square <= std::size_t{1} << 24)
                ASSERT_EQ(map[i], static_cast<float>(square)) << i;
            else
                ASSERT_NEAR(map[i], static_cast<double>(square), 1.2e-7 * static_cast<double>(square)) << i;
        }
    }
}

TEST(CEdtVoronoi, ReturnsZeroIfThereIsNoSeed) {
    for (const CSize& size : {CSize(7, 6, 5), CSize(300, 2), Line(9)}) {
        const auto count = static_cast<std::size_t>(size.PixelCount());
        const auto image = Binary(size, Bytes(count, 1));
        EXPECT_EQ(Map<float>(*image, {true, true, false, false}), Floats(count, 0.0F));
        EXPECT_EQ(Map<unsigned>(*image, {true, true, false, false}), Integers(count, 0));
        EXPECT_EQ(Map<float>(*image, {true, false, false, false}), Floats(count, 0.0F));
    }
}

TEST(CEdtVoronoi, TreatsAnEmbeddedImageAsSurroundedBySeeds) {
    std::mt19937 random(5);
    const CSize size(19, 8, 7);
    const auto image = test::RandomBinary(random, size);
    const CSize paddedSize(size.x + 2, size.y + 2, size.z + 2);
    for (const bool onForeground : {true, false}) {
        CImage padded(IMAGE_BINARY_FG, paddedSize, CSize(0, 0, 0));
        const CImageView<const unsigned char> from(*image);
        const CImageView<unsigned char> to(padded);
        for (std::int64_t z = 0; z < paddedSize.z; ++z) {
            for (std::int64_t y = 0; y < paddedSize.y; ++y)
                std::fill_n(to.Row(y, z), paddedSize.x, onForeground ? 0 : 1);
        }
        for (std::int64_t z = 0; z < size.z; ++z) {
            for (std::int64_t y = 0; y < size.y; ++y)
                std::copy_n(from.Row(y, z), size.x, to.Row(y + 1, z + 1) + 1);
        }
        const Floats map = Map<float>(*image, {true, onForeground, true, true});
        const Floats mapOfPadded = Map<float>(padded, {true, onForeground, true, false});
        for (std::int64_t i = 0; i < size.PixelCount(); ++i) {
            const std::int64_t x = i % size.x + 1;
            const std::int64_t y = i / size.x % size.y + 1;
            const std::int64_t z = i / size.x / size.y + 1;
            const auto index = static_cast<std::size_t>((z * paddedSize.y + y) * paddedSize.x + x);
            ASSERT_EQ(map[static_cast<std::size_t>(i)], mapOfPadded[index]);
        }
    }
}

TEST(CEdtVoronoi, ReturnsTheTransposedMapOfATransposedImage) {
    for (const unsigned seed : test::CRandomSeeds(0, 20)) {
        std::mt19937 random(seed);
        const CSize size(1 + random() % 40, 1 + random() % 40, 1 + random() % 40);
        const auto image = test::RandomBinary(random, size);
        CImage turned(IMAGE_BINARY_FG, CSize(size.z, size.x, size.y), CSize(0, 0, 0));
        const CImageView<const unsigned char> from(*image);
        const CImageView<unsigned char> to(turned);
        for (std::int64_t z = 0; z < size.z; ++z) {
            for (std::int64_t y = 0; y < size.y; ++y) {
                for (std::int64_t x = 0; x < size.x; ++x)
                    to.Row(x, y)[z] = from.Row(y, z)[x];
            }
        }
        const StMode mode{true, true, true, seed % 2 == 0};
        const Floats map = Map<float>(*image, mode);
        const Floats mapOfTurned = Map<float>(turned, mode);
        for (std::int64_t z = 0; z < size.z; ++z) {
            for (std::int64_t y = 0; y < size.y; ++y) {
                for (std::int64_t x = 0; x < size.x; ++x) {
                    ASSERT_EQ(map[static_cast<std::size_t>((z * size.y + y) * size.x + x)],
                              mapOfTurned[static_cast<std::size_t>((y * size.x + x) * size.z + z)])
                        << seed;
                }
            }
        }
    }
}

TEST(CEdtVoronoi, ChangesByNoMoreThanTheWayBetweenTwoPixels) {
    std::mt19937 random(3);
    const CSize size(60, 50, 40);
    const auto image = test::RandomImage<unsigned char>(IMAGE_BINARY_FG, size, random, 0.0, 1.001);
    const Floats map = Map<float>(*image, {true, false, false, false});
    for (int i = 0; i < 20000; ++i) {
        const auto draw = [&] { return CPos(random() % 60, random() % 50, random() % 40); };
        const CPos a = draw();
        const CPos b = draw();
        const auto at = [&](const CPos& place) {
            return map[static_cast<std::size_t>((place.z * size.y + place.y) * size.x + place.x)];
        };
        const auto way = std::hypot(static_cast<double>(a.x - b.x), static_cast<double>(a.y - b.y),
                                    static_cast<double>(a.z - b.z));
        ASSERT_LE(std::fabs(at(a) - at(b)), way + 1e-5);
    }
}

TEST(CEdtVoronoi, SwapsThePhasesAsAnInvertedImageDoes) {
    std::mt19937 random(8);
    const auto image = test::RandomBinary(random, CSize(21, 13, 6));
    Bytes inverted = test::PixelsOf<unsigned char>(*image);
    for (unsigned char& pixel : inverted)
        pixel = static_cast<unsigned char>(1 - pixel);
    EXPECT_EQ(Map<float>(*image, {true, true, true, false}),
              Map<float>(*Binary(image->Size(), inverted), {true, false, true, false}));
}

TEST(CEdtVoronoi, StoresSpacingExtremaAndGreatestDistance) {
    Bytes pixels(60, 1);
    pixels[0] = 0;
    const auto image = Binary(CSize(5, 4, 3), pixels);
    CQuillonHeaderTools::SetSpacing(*image, 2.0, 2.0, 2.0);
    CImage map(IMAGE_GREY_F, image->Size(), CSize(0, 0, 0));
    CEdtVoronoi(nullptr, nullptr).CalculateDistanceMap(map, *image, true, true, true, false);
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    EXPECT_TRUE(CQuillonHeaderTools::GetSpacing(map, x, y, z));
    EXPECT_EQ((Spacing{x, y, z}), (Spacing{2.0, 2.0, 2.0}));
    CValueVector extrema;
    ASSERT_TRUE(CQuillonHeaderTools::GetMetaInfo(map, CQuillonHeaderTools::c_sMetaMinMax.c_str(), extrema));
    ASSERT_EQ(extrema.size(), 2U);
    EXPECT_EQ(extrema[0]->Double(), 0.0);
    EXPECT_EQ(extrema[1]->Double(), 4.0 * (16 + 9 + 4));
    double greatest = 0.0;
    EXPECT_TRUE(CQuillonHeaderTools::GetMaxDistance(map, greatest));
    EXPECT_EQ(greatest, 4.0 * (16 + 9 + 4));
}

TEST(CEdtVoronoi, FindsTheExtremaOfAnEmbeddedLineToo) {
    const auto image = Binary(Line(4), Bytes(4, 1));
    CImage map(IMAGE_GREY_F, image->Size(), CSize(0, 0, 0));
    CEdtVoronoi(nullptr, nullptr).CalculateDistanceMap(map, *image, true, true, true, true);
    CValueVector extrema;
    ASSERT_TRUE(CQuillonHeaderTools::GetMetaInfo(map, CQuillonHeaderTools::c_sMetaMinMax.c_str(), extrema));
    EXPECT_EQ(extrema[0]->Double(), 1.0);
    EXPECT_EQ(extrema[1]->Double(), 4.0);
}

TEST(CEdtVoronoi, SetsSpacing1WhereTheImageHasNone) {
    const auto image = Binary(CSize(2, 2), {0, 1, 1, 1});
    CImage map(IMAGE_GREY_F, image->Size(), CSize(0, 0, 0));
    CQuillonHeaderTools::SetSpacing(map, 7.0, 8.0, 9.0);
    CEdtVoronoi(nullptr, nullptr).CalculateDistanceMap(map, *image, true, true, true, false);
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    EXPECT_TRUE(CQuillonHeaderTools::GetSpacing(map, x, y, z));
    EXPECT_EQ((Spacing{x, y, z}), (Spacing{1.0, 1.0, 1.0}));
    EXPECT_EQ(test::PixelsOf<float>(map), (Floats{0, 1, 1, 2}));
}

TEST(CEdtVoronoi, AcceptsImagesOfOtherClassesAndWithBorders) {
    std::mt19937 random(4);
    const CSize size(35, 20, 18);
    const auto image = test::RandomBinary(random, size);
    CImage bordered(IMAGE_BINARY_FG, size, CSize(1, 2, 3));
    const CImageView<const unsigned char> from(*image);
    const CImageView<unsigned char> to(bordered);
    for (std::int64_t z = 0; z < size.z; ++z) {
        for (std::int64_t y = 0; y < size.y; ++y)
            std::copy_n(from.Row(y, z), size.x, to.Row(y, z));
    }
    CImage map(IMAGE_GREY_F, size, CSize(3, 0, 1));
    test::CForeignImage foreignMap(map);
    const test::CForeignImage foreignBinary(bordered);
    CEdtVoronoi(nullptr, nullptr).CalculateDistanceMap(foreignMap, foreignBinary, true, true, true, false);
    EXPECT_EQ(test::PixelsOf<float>(map), Map<float>(*image, {true, true, true, false}));
}

TEST(CEdtVoronoi, HasNothingToDoInAnEmptyImage) {
    for (const CSize& size : {CSize(0, 4, 5), CSize(4, 0, 5), CSize(4, 5, 0), CSize(0, 0), Line(0)}) {
        const CImage image(IMAGE_BINARY_FG, size, CSize(0, 0, 0));
        EXPECT_TRUE(Map<float>(image, {true, true, true, true}).empty()) << size.ToString();
        EXPECT_TRUE(Map<unsigned>(image, {true, true, true, true}).empty()) << size.ToString();
    }
}

TEST_F(CEdtVoronoiThreads, ChangeNoByteOfTheResult) {
    for (const CSize& size : {CSize(70, 60, 50), CSize(300, 40, 9), CSize(500, 300), CSize(600, 3, 20)}) {
        for (const Spacing& spacing : {Spacing{1, 1, 1}, Spacing{0.9, 1.1, 2.3}}) {
            std::mt19937 random(11);
            const auto image = test::RandomImage<unsigned char>(IMAGE_BINARY_FG, size, random, 0.0, 1.0005);
            CQuillonHeaderTools::SetSpacing(*image, spacing[0], spacing[1], spacing[2]);
            const StMode mode{true, false, false, false};
            SetThreadCount(1);
            const Floats expected = Map<float>(*image, mode);
            const Integers expectedIntegers = Map<unsigned>(*image, mode);
            for (const int count : {2, 7}) {
                SetThreadCount(count);
                EXPECT_EQ(Map<float>(*image, mode), expected) << size.ToString() << count;
                EXPECT_EQ(Map<unsigned>(*image, mode), expectedIntegers) << size.ToString() << count;
            }
        }
    }
}

TEST_F(CEdtVoronoiThreads, StepThroughPlanesAndBlocksOfLines) {
    SetThreadCount(2);
    const std::array cases{std::pair{CSize(20, 30, 40), 40 + 30}, // planes, then lines along z
                           std::pair{CSize(300, 130, 2), 6 + 4 + 130}, std::pair{CSize(300, 130), 3 + 2},
                           std::pair{Line(7), 1}};
    for (const auto& [size, steps] : cases) {
        const CImage image(IMAGE_BINARY_FG, size, CSize(0, 0, 0));
        CImage map(IMAGE_GREY_F, size, CSize(0, 0, 0));
        test::CRecordingProgress progress;
        CEdtVoronoi algorithm(nullptr, nullptr);
        algorithm.SetProgress(CProgressProxy(&progress));
        algorithm.CalculateDistanceMap(map, image, true, true, true, false);
        EXPECT_EQ(progress.calls.front(), "Start " + std::to_string(steps) + " Distance transform");
        EXPECT_EQ(progress.calls.back(), "Finish");
        EXPECT_EQ(progress.steps, static_cast<unsigned long>(steps));
        EXPECT_TRUE(progress.isFromOneThread);
    }
}

namespace {

/// Says "go on" a number of times.
class CPatience : public test::CRecordingProgress {
public:
    explicit CPatience(int times)
        : m_times(times) {}
    bool IsCancelled() override { return --m_times < 0; }

private:
    std::atomic<int> m_times;
};

} // namespace

TEST_F(CEdtVoronoiThreads, LeaveZerosAndNoErrorWhenCancelled) {
    std::mt19937 random(2);
    for (const CSize& size : {CSize(30, 40, 50), CSize(300, 200)}) {
        const auto image = test::RandomBinary(random, size);
        const auto count = static_cast<std::size_t>(size.PixelCount());
        for (const int threadCount : {1, 3}) {
            // Of several threads only the calling one asks, and nobody knows how often.
            const int most = size.Dim() == 3 ? 55 : 5;
            for (const int times : {0, 1, threadCount == 1 ? most : 2}) {
                SetThreadCount(threadCount);
                const auto map = test::ImageOf(IMAGE_GREY_F, size, Floats(count, 7.0F));
                CPatience progress(times);
                CEdtVoronoi algorithm(nullptr, nullptr);
                algorithm.SetProgress(CProgressProxy(&progress));
                EXPECT_NO_THROW(algorithm.CalculateDistanceMap(*map, *image, true, true, true, true));
                EXPECT_EQ(progress.calls.back(), "Finish");
                EXPECT_EQ(test::PixelsOf<float>(*map), Floats(count, 0.0F));
                CValueVector extrema;
                EXPECT_FALSE(CQuillonHeaderTools::GetMetaInfo(
                    *map, CQuillonHeaderTools::c_sMetaMinMax.c_str(), extrema));
            }
        }
    }
}

namespace {

std::string Failure(const IImage::CType& mapType, const CSize& mapSize, const IImage::CType& binaryType,
                    const CSize& binarySize) {
    CImage map(mapType, mapSize, CSize(0, 0, 0));
    const CImage binary(binaryType, binarySize, CSize(0, 0, 0));
    const auto raised = test::Raised<CException>(
        [&] { CEdtVoronoi(nullptr, nullptr).CalculateDistanceMap(map, binary, true, true, true, false); });
    EXPECT_STREQ(raised.Source(), "ORVEN::CEdtVoronoi::CalculateDistanceMap");
    return raised.Message();
}

} // namespace

TEST(CEdtVoronoi, RaisesForAMapOfAnotherType) {
    EXPECT_EQ(Failure(IMAGE_GREY_16, CSize(2, 2), IMAGE_GREY_8, CSize(3, 3)),
              "Distance image is not of type 'IMAGE_GREY_F' or 'IMAGE_GREY_32' but 'IMAGE_GREY_16'.");
}

TEST(CEdtVoronoi, RaisesForAnImageThatIsNotBinary) {
    EXPECT_EQ(Failure(IMAGE_GREY_F, CSize(2, 2), IMAGE_GREY_8, CSize(3, 3)),
              "Binary image is not of type 'IMAGE_MONO_BINARY' but 'IMAGE_GREY_8'.");
    EXPECT_EQ(Failure(IMAGE_GREY_32, CSize(2, 2), IMAGE_BINARY_BG, CSize(2, 2)),
              "Binary image is not of type 'IMAGE_MONO_BINARY' but 'IMAGE_BINARY_BG'.");
}

TEST(CEdtVoronoi, RaisesForSizesThatDiffer) {
    EXPECT_EQ(Failure(IMAGE_GREY_F, CSize(2, 3), IMAGE_BINARY_FG, CSize(2, 4)),
              "Binary image size and distance image size differ: (2,4) vs (2,3)");
    EXPECT_EQ(Failure(IMAGE_GREY_F, CSize(2, 3, 1), IMAGE_BINARY_FG, CSize(2, 3)),
              "Binary image size and distance image size differ: (2,3) vs (2,3,1)");
}

TEST(CEdtVoronoi, RaisesForAnExtentOf65535) {
    EXPECT_EQ(Failure(IMAGE_GREY_F, CSize(65535, 1), IMAGE_BINARY_FG, CSize(65535, 1)),
              "Binary image exceeds size in direction '0' with value '65535' (max is '-1').");
    EXPECT_EQ(Failure(IMAGE_GREY_32, CSize(1, 1, 70000), IMAGE_BINARY_FG, CSize(1, 1, 70000)),
              "Binary image exceeds size in direction '2' with value '70000' (max is '-1').");
    const CImage largest(IMAGE_BINARY_FG, CSize(65534, 1), CSize(0, 0, 0));
    EXPECT_NO_THROW(Map<float>(largest, {true, true, true, false}));
}

TEST(SquaredDistancesToBackground, MeasureTheLayersOfACube) {
    Bytes pixels(343, 0);
    for (std::size_t i = 0; i < 343; ++i) {
        const auto isInside = [](std::size_t k) { return k >= 1 && k <= 5; };
        pixels[i] = isInside(i % 7) && isInside(i / 7 % 7) && isInside(i / 49) ? 1 : 0;
    }
    const auto image = Binary(CSize(7, 7, 7), pixels);
    CQuillonHeaderTools::SetSpacing(*image, 3.0, 4.0, 5.0); // plays no part
    CImage squares(IMAGE_GREY_32, image->Size(), CSize(0, 0, 0));
    CProgressProxy progress;
    SquaredDistancesToBackground(*image, squares, progress);
    const Integers result = test::PixelsOf<unsigned>(squares);
    for (std::size_t i = 0; i < 343; ++i) {
        const auto depth = [](std::size_t k) { return std::min(k, 6 - k); };
        const std::size_t layer = std::min({depth(i % 7), depth(i / 7 % 7), depth(i / 49)});
        EXPECT_EQ(result[i], layer * layer) << i;
    }
}

TEST(SquaredDistancesToBackground, EqualEveryBackgroundPixelTried) {
    for (const unsigned seed : test::CRandomSeeds(0, 200)) {
        std::mt19937 random(seed);
        const auto image = test::RandomBinary(random, test::RandomSize(random, 17));
        SCOPED_TRACE(image->Size().ToString());
        CImage squares(IMAGE_GREY_32, image->Size(), CSize(0, 0, 0));
        CProgressProxy progress;
        SquaredDistancesToBackground(*image, squares, progress);
        const auto expected = test::SquaredDistances(test::SeedsOf(*image, true, true));
        ASSERT_EQ(test::PixelsOf<unsigned>(squares), Integers(expected.begin(), expected.end()));
    }
}

TEST(SquaredDistancesToBackground, TakeAllThatIsNotZeroAsObject) {
    const auto image = Binary(CSize(3, 3), Bytes(9, 255));
    CImage squares(IMAGE_GREY_32, image->Size(), CSize(0, 0, 0));
    CProgressProxy progress;
    SquaredDistancesToBackground(*image, squares, progress);
    EXPECT_EQ(test::PixelsOf<unsigned>(squares), (Integers{1, 1, 1, 1, 4, 1, 1, 1, 1}));
}

TEST(SquaredDistancesToBackground, RaiseForImagesThatDoNotFit) {
    CProgressProxy progress;
    const auto failure = [&](const IImage::CType& binaryType, const CSize& binarySize,
                             const IImage::CType& type, const CSize& size) {
        const CImage binary(binaryType, binarySize, CSize(0, 0, 0));
        CImage squares(type, size, CSize(0, 0, 0));
        return std::string(test::Raised<CException>([&] {
                               SquaredDistancesToBackground(binary, squares, progress);
                           }).Message());
    };
    EXPECT_EQ(failure(IMAGE_GREY_8, CSize(2, 2), IMAGE_GREY_32, CSize(2, 2)),
              "Images are of types IMAGE_GREY_8 and IMAGE_GREY_32 and not of types IMAGE_BINARY_FG and "
              "IMAGE_GREY_32.");
    EXPECT_EQ(failure(IMAGE_BINARY_FG, CSize(2, 2), IMAGE_GREY_F, CSize(2, 2)),
              "Images are of types IMAGE_BINARY_FG and IMAGE_GREY_F and not of types IMAGE_BINARY_FG and "
              "IMAGE_GREY_32.");
    EXPECT_EQ(failure(IMAGE_BINARY_FG, CSize(2, 2), IMAGE_GREY_32, CSize(2, 3)),
              "Result of size (2,3) does not fit the image of size (2,2).");
    EXPECT_EQ(failure(IMAGE_BINARY_FG, CSize(2, 65535), IMAGE_GREY_32, CSize(2, 65535)),
              "Image of size (2,65535) is too large: extents must be below 65535.");
}

TEST(SquaredDistancesToBackground, AreZeroWhenCancelled) {
    const auto image = Binary(CSize(5, 5), Bytes(25, 1));
    const auto squares = test::ImageOf(IMAGE_GREY_32, image->Size(), Integers(25, 9));
    CPatience progress(0);
    SquaredDistancesToBackground(*image, *squares, progress);
    EXPECT_EQ(test::PixelsOf<unsigned>(*squares), Integers(25, 0));
}
