#include "oracles/DistanceOracle.h"
#include "support/CRandomSeeds.h"
#include "support/CRecordingProgress.h"
#include "support/Raised.h"

#include <QuillonBase/Parallel.h>
#include <QuillonTransformation/CSphericalMorphology.h>
#include <sorblib2core/CExBadParam.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <functional>
#include <limits>
#include <string>

namespace {

using namespace ORVEN;
using Bytes = std::vector<unsigned char>;
using Operation = void (CSphericalMorphology::*)(IImage& result, IImage& source, float radius);

struct StOperation {
    const char* name;
    Operation run;
};

constexpr std::array<StOperation, 6> c_operations{
    {{"erosion", &CSphericalMorphology::Erode},
     {"dilation", &CSphericalMorphology::Dilate},
     {"opening", &CSphericalMorphology::Opening},
     {"closing", &CSphericalMorphology::Closing},
     {"erosionrefl", &CSphericalMorphology::ReflectedErosion},
     {"dilationrefl", &CSphericalMorphology::ReflectedDilation}}};

Bytes Result(Operation operation, IImage& source, float radius) {
    CImage result(IMAGE_BINARY_FG, source.Size(), CSize(0, 0, 0));
    CSphericalMorphology algorithm(nullptr, nullptr);
    (algorithm.*operation)(result, source, radius);
    return test::PixelsOf<unsigned char>(result);
}

std::unique_ptr<CImage> Binary(const CSize& size, const Bytes& pixels) {
    return test::ImageOf(IMAGE_BINARY_FG, size, pixels);
}

/// A set of the unbounded grid, asked place by place.
using Set = std::function<bool(std::int64_t x, std::int64_t y, std::int64_t z)>;

/// The definitions, place by place and offset by offset.
class COracle {
public:
    COracle(const IImage& image, std::int64_t square)
        : m_size(image.Size())
        , m_square(square)
        , m_pixels(test::PixelsOf<unsigned char>(image)) {
        m_extents = {m_size.x, m_size.Dim() > 1 ? m_size.y : 1, m_size.Dim() > 2 ? m_size.z : 1};
        m_reach = static_cast<std::int64_t>(std::sqrt(static_cast<double>(square)));
        const std::int64_t reachY = m_size.Dim() > 1 ? m_reach : 0;
        const std::int64_t reachZ = m_size.Dim() > 2 ? m_reach : 0;
        for (std::int64_t z = -reachZ; z <= reachZ; ++z) {
            for (std::int64_t y = -reachY; y <= reachY; ++y) {
                for (std::int64_t x = -m_reach; x <= m_reach; ++x) {
                    if (x * x + y * y + z * z <= square)
                        m_ball.push_back({x, y, z});
                }
            }
        }
    }

    [[nodiscard]] Set Object() const {
        return [this](std::int64_t x, std::int64_t y, std::int64_t z) {
            return Contains(x, y, z) &&
                   m_pixels[static_cast<std::size_t>((z * m_extents[1] + y) * m_extents[0] + x)] != 0;
        };
    }

    /// The image and its mirror images, pixel -1 being a copy of pixel 0.
    [[nodiscard]] Set Mirrored() const {
        return [this, object = Object()](std::int64_t x, std::int64_t y, std::int64_t z) {
            const auto mirrored = [](std::int64_t place, std::int64_t extent) {
                const std::int64_t period = 2 * extent;
                const std::int64_t inPeriod = (place % period + period) % period;
                return inPeriod < extent ? inPeriod : period - 1 - inPeriod;
            };
            return object(mirrored(x, m_extents[0]), mirrored(y, m_extents[1]), mirrored(z, m_extents[2]));
        };
    }

    [[nodiscard]] Set Eroded(const Set& set) const {
        return [this, set](std::int64_t x, std::int64_t y, std::int64_t z) {
            return std::all_of(m_ball.begin(), m_ball.end(), [&](const auto& offset) {
                return set(x + offset[0], y + offset[1], z + offset[2]);
            });
        };
    }

    [[nodiscard]] Set Dilated(const Set& set) const {
        return [this, set](std::int64_t x, std::int64_t y, std::int64_t z) {
            return std::any_of(m_ball.begin(), m_ball.end(), [&](const auto& offset) {
                return set(x + offset[0], y + offset[1], z + offset[2]);
            });
        };
    }

    /// The dilated object, the other way round: the places that have an object pixel in reach.
    [[nodiscard]] Set DilatedObject() const {
        std::vector<std::array<std::int64_t, 3>> places;
        for (std::size_t i = 0; i < m_pixels.size(); ++i) {
            const auto index = static_cast<std::int64_t>(i);
            if (m_pixels[i] != 0) {
                places.push_back({index % m_extents[0], index / m_extents[0] % m_extents[1],
                                  index / m_extents[0] / m_extents[1]});
            }
        }
        return [this, places](std::int64_t x, std::int64_t y, std::int64_t z) {
            return std::any_of(places.begin(), places.end(), [&](const auto& place) {
                return (x - place[0]) * (x - place[0]) + (y - place[1]) * (y - place[1]) +
                           (z - place[2]) * (z - place[2]) <=
                       m_square;
            });
        };
    }

    /// The set within reach of the image, looked at once for each place.
    [[nodiscard]] Set Tabulated(const Set& set) const {
        const std::array<std::int64_t, 3> margins{m_reach, m_size.Dim() > 1 ? m_reach : 0,
                                                  m_size.Dim() > 2 ? m_reach : 0};
        const std::array<std::int64_t, 3> extents{
            m_extents[0] + 2 * margins[0], m_extents[1] + 2 * margins[1], m_extents[2] + 2 * margins[2]};
        Bytes table;
        for (std::int64_t z = 0; z < extents[2]; ++z) {
            for (std::int64_t y = 0; y < extents[1]; ++y) {
                for (std::int64_t x = 0; x < extents[0]; ++x)
                    table.push_back(set(x - margins[0], y - margins[1], z - margins[2]) ? 1 : 0);
            }
        }
        return [table, margins, extents](std::int64_t x, std::int64_t y, std::int64_t z) {
            const std::array<std::int64_t, 3> place{x + margins[0], y + margins[1], z + margins[2]};
            for (std::size_t axis = 0; axis < 3; ++axis) {
                if (place[axis] < 0 || place[axis] >= extents[axis])
                    return false;
            }
            return table[static_cast<std::size_t>((place[2] * extents[1] + place[1]) * extents[0] +
                                                  place[0])] != 0;
        };
    }

    [[nodiscard]] Bytes Pixels(const Set& set) const {
        Bytes pixels;
        for (std::int64_t z = 0; z < m_extents[2]; ++z) {
            for (std::int64_t y = 0; y < m_extents[1]; ++y) {
                for (std::int64_t x = 0; x < m_extents[0]; ++x)
                    pixels.push_back(set(x, y, z) ? 1 : 0);
            }
        }
        return pixels;
    }

    [[nodiscard]] Bytes Expected(std::size_t operation) const {
        switch (operation) {
        case 0:
            return Pixels(Eroded(Object()));
        case 1:
            return Pixels(Dilated(Object()));
        case 2:
            return Pixels(Dilated(Tabulated(Eroded(Object()))));
        case 3:
            return Pixels(Eroded(Tabulated(DilatedObject())));
        case 4:
            return Pixels(Eroded(Mirrored()));
        default:
            return Pixels(Dilated(Mirrored()));
        }
    }

private:
    [[nodiscard]] bool Contains(std::int64_t x, std::int64_t y, std::int64_t z) const {
        return x >= 0 && x < m_extents[0] && y >= 0 && y < m_extents[1] && z >= 0 && z < m_extents[2];
    }

    CSize m_size;
    std::int64_t m_square;
    Bytes m_pixels;
    std::array<std::int64_t, 3> m_extents{};
    std::int64_t m_reach = 0;
    std::vector<std::array<std::int64_t, 3>> m_ball;
};

void ExpectDefinition(CImage& image, float radius, std::int64_t square) {
    const COracle oracle(image, square);
    for (std::size_t operation = 0; operation < c_operations.size(); ++operation) {
        ASSERT_EQ(Result(c_operations[operation].run, image, radius), oracle.Expected(operation))
            << c_operations[operation].name << ", radius " << radius << ", " << image.Size().ToString();
    }
}

std::int64_t Count(const Bytes& pixels) { return std::count(pixels.begin(), pixels.end(), 1); }

/// Whether the object of the first image lies in that of the second.
bool IsInside(const Bytes& inner, const Bytes& outer) {
    return std::equal(inner.begin(), inner.end(), outer.begin(),
                      [](unsigned char a, unsigned char b) { return a <= b; });
}

class CSphericalMorphologyThreads : public testing::Test {
protected:
    ~CSphericalMorphologyThreads() override { SetThreadCount(0); }
};

} // namespace

TEST(CSphericalMorphology, DilatesOnePixelToTheBall) {
    constexpr std::array<std::array<std::int64_t, 2>, 11> balls{{{0, 1},
                                                                 {1, 7},
                                                                 {2, 19},
                                                                 {3, 27},
                                                                 {4, 33},
                                                                 {5, 57},
                                                                 {6, 81},
                                                                 {8, 93},
                                                                 {9, 123},
                                                                 {16, 257},
                                                                 {25, 515}}};
    constexpr std::array<std::array<std::int64_t, 2>, 6> discs{
        {{1, 5}, {2, 9}, {4, 13}, {5, 21}, {8, 25}, {9, 29}}};
    const auto dilated = [](const CSize& size, std::int64_t square) {
        Bytes pixels(static_cast<std::size_t>(size.PixelCount()));
        pixels[pixels.size() / 2] = 1;
        // Half way to the next square, so that no rounding of the root decides.
        const auto radius = static_cast<float>(std::sqrt(static_cast<double>(square) + 0.5));
        return Count(Result(&CSphericalMorphology::Dilate, *Binary(size, pixels), radius));
    };
    for (const auto& [square, count] : balls)
        EXPECT_EQ(dilated(CSize(13, 13, 13), square), count) << square;
    for (const auto& [square, count] : discs)
        EXPECT_EQ(dilated(CSize(13, 13), square), count) << square;
}

TEST(CSphericalMorphology, WearsDownAFullImageAtItsBorderUnlessReflected) {
    const auto image = Binary(CSize(5, 5, 5), Bytes(125, 1));
    EXPECT_EQ(Count(Result(&CSphericalMorphology::Erode, *image, 1.0F)), 27);
    EXPECT_EQ(Count(Result(&CSphericalMorphology::ReflectedErosion, *image, 1.0F)), 125);
}

TEST(CSphericalMorphology, FollowsItsDefinitionForEveryRadius) {
    for (int radius = 0; radius <= 12; ++radius) {
        std::mt19937 random(static_cast<unsigned>(radius));
        for (const CSize& size :
             {CSize(7, 3, 5), CSize(33, 2, 1), CSize(2, 1, 17), CSize(17, 9), CSize(1, 31)}) {
            const auto image =
                test::RandomImage<unsigned char>(IMAGE_BINARY_FG, size, random, 0.0, radius < 4 ? 1.3 : 1.03);
            ExpectDefinition(*image, static_cast<float>(radius), radius * radius);
        }
    }
}

TEST(CSphericalMorphology, FollowsItsDefinitionForRandomImages) {
    for (const unsigned seed : test::CRandomSeeds(0, 250)) {
        std::mt19937 random(seed);
        const auto image = test::RandomBinary(random, test::RandomSize(random, seed % 10 == 0 ? 33 : 9));
        const auto square = static_cast<std::int64_t>(random() % 17);
        ExpectDefinition(*image, static_cast<float>(std::sqrt(static_cast<double>(square) + 0.5)), square);
    }
}

TEST(CSphericalMorphology, CountsTheWholePartOfTheSquaredRadius) {
    std::mt19937 random(1);
    const auto image = test::RandomImage<unsigned char>(IMAGE_BINARY_FG, CSize(12, 11, 10), random, 0.0, 1.1);
    // The float next to the root of 2 is below it.
    ExpectDefinition(*image, 1.4142135F, 1);
    ExpectDefinition(*image, 1.4142137F, 2);
    ExpectDefinition(*image, 2.9F, 8);
    ExpectDefinition(*image, 0.999F, 0);
    ExpectDefinition(*image, 3.0F, 9);
    ExpectDefinition(*image, std::nextafter(3.0F, 0.0F), 8);
}

TEST(CSphericalMorphology, IsTheIdentityForRadius0) {
    std::mt19937 random(6);
    const auto image = test::RandomBinary(random, CSize(20, 9, 5));
    for (const StOperation& operation : c_operations)
        EXPECT_EQ(Result(operation.run, *image, 0.0F), test::PixelsOf<unsigned char>(*image))
            << operation.name;
}

// Up to radius 126 and beyond, the methods differ. Up to it, a closing adds a border as wide as the ball,
// which in three dimensions is checked only where the image with its border is small.
TEST(CSphericalMorphology, FollowsItsDefinitionForLargeRadii) {
    constexpr std::int64_t mostPixelsWithBorder = 1 << 21;
    for (const int radius : {60, 125, 126, 127, 128, 150}) {
        for (const CSize& size : {CSize(400, 2), CSize(2, 400), CSize(3, 2, 330), CSize(3, 2, 10)}) {
            SCOPED_TRACE(size.ToString() + ", radius " + std::to_string(radius));
            std::mt19937 random(static_cast<unsigned>(radius));
            for (const bool isMostlyObject : {false, true}) {
                Bytes pixels(static_cast<std::size_t>(size.PixelCount()), isMostlyObject ? 1 : 0);
                for (int i = 0; i < 2; ++i)
                    pixels[random() % pixels.size()] ^= 1;
                const auto image = Binary(size, pixels);
                const std::int64_t square = radius * radius;
                const auto within = [&](bool isOfObject, bool isOutsideObject) {
                    const auto squares =
                        test::SquaredDistances(test::SeedsOf(*image, !isOfObject, isOutsideObject));
                    Bytes near;
                    for (const double value : squares)
                        near.push_back(value != test::c_noDistance && value <= static_cast<double>(square));
                    return near;
                };
                const auto inverted = [](Bytes bytes) {
                    for (unsigned char& byte : bytes)
                        byte ^= 1;
                    return bytes;
                };
                const auto r = static_cast<float>(radius);
                EXPECT_EQ(Result(&CSphericalMorphology::Dilate, *image, r), within(true, false));
                EXPECT_EQ(Result(&CSphericalMorphology::Erode, *image, r), inverted(within(false, true)));
                EXPECT_EQ(Result(&CSphericalMorphology::ReflectedErosion, *image, r),
                          inverted(within(false, false)));
                CSize withBorder = size;
                for (int axis = 0; axis < size.Dim(); ++axis)
                    withBorder[axis] += 2 * radius;
                if (radius <= 126 && withBorder.PixelCount() > mostPixelsWithBorder)
                    continue;
                const Bytes closed = Result(&CSphericalMorphology::Closing, *image, r);
                EXPECT_TRUE(IsInside(pixels, closed));
                EXPECT_EQ(Result(&CSphericalMorphology::Closing, *Binary(size, closed), r), closed);
            }
        }
    }
}

TEST(CSphericalMorphology, SurvivesHugeRadii) {
    Bytes pixels(60, 0);
    const auto empty = Binary(CSize(5, 4, 3), pixels);
    pixels[7] = 1;
    const auto single = Binary(CSize(5, 4, 3), pixels);
    const auto full = Binary(CSize(5, 4, 3), Bytes(60, 1));
    for (const float radius : {1e3F, 7e4F, 1e9F, 3e38F, std::numeric_limits<float>::infinity()}) {
        EXPECT_EQ(Count(Result(&CSphericalMorphology::Dilate, *empty, radius)), 0);
        EXPECT_EQ(Count(Result(&CSphericalMorphology::Dilate, *single, radius)), 60);
        EXPECT_EQ(Count(Result(&CSphericalMorphology::ReflectedDilation, *single, radius)), 60);
        EXPECT_EQ(Count(Result(&CSphericalMorphology::Erode, *full, radius)), 0);
        EXPECT_EQ(Count(Result(&CSphericalMorphology::Opening, *full, radius)), 0);
        EXPECT_EQ(Count(Result(&CSphericalMorphology::ReflectedErosion, *full, radius)), 60);
        EXPECT_EQ(Count(Result(&CSphericalMorphology::ReflectedErosion, *single, radius)), 0);
    }
    EXPECT_STREQ(
        test::Raised<CException>([&] { Result(&CSphericalMorphology::Closing, *single, 4e4F); }).Message(),
        "Image of size (80005,80004,80003) is too large: extents must be below 65535.");
}

TEST(CSphericalMorphology, OrdersErosionOpeningImageClosingAndDilation) {
    for (const unsigned seed : test::CRandomSeeds(0, 60)) {
        std::mt19937 random(seed);
        const auto image = test::RandomBinary(random, CSize(30, 20, 18));
        const float radius = static_cast<float>(random() % 50) / 10.0F;
        SCOPED_TRACE("seed " + std::to_string(seed) + ", radius " + std::to_string(radius));
        const Bytes pixels = test::PixelsOf<unsigned char>(*image);
        const Bytes opened = Result(&CSphericalMorphology::Opening, *image, radius);
        const Bytes closed = Result(&CSphericalMorphology::Closing, *image, radius);
        EXPECT_TRUE(IsInside(Result(&CSphericalMorphology::Erode, *image, radius), opened));
        EXPECT_TRUE(IsInside(opened, pixels));
        EXPECT_TRUE(IsInside(pixels, closed));
        EXPECT_TRUE(IsInside(closed, Result(&CSphericalMorphology::Dilate, *image, radius)));
        EXPECT_EQ(Result(&CSphericalMorphology::Opening, *Binary(image->Size(), opened), radius), opened);
        EXPECT_EQ(Result(&CSphericalMorphology::Closing, *Binary(image->Size(), closed), radius), closed);
    }
}

TEST(CSphericalMorphology, GrowsWithTheImage) {
    for (const unsigned seed : test::CRandomSeeds(0, 30)) {
        std::mt19937 random(seed);
        const CSize size(25, 14, 16);
        const auto image = test::RandomBinary(random, size);
        Bytes larger = test::PixelsOf<unsigned char>(*image);
        for (unsigned char& pixel : larger)
            pixel = pixel != 0 || random() % 5 == 0 ? 1 : 0;
        const auto largerImage = Binary(size, larger);
        for (const StOperation& operation : c_operations) {
            EXPECT_TRUE(
                IsInside(Result(operation.run, *image, 2.3F), Result(operation.run, *largerImage, 2.3F)))
                << operation.name;
        }
    }
}

TEST(CSphericalMorphology, ErodesTheObjectAsItDilatesTheBackgroundWhenReflected) {
    std::mt19937 random(12);
    const CSize size(40, 21, 13);
    const auto image = test::RandomBinary(random, size);
    const auto inverted = [](Bytes bytes) {
        for (unsigned char& byte : bytes)
            byte ^= 1;
        return bytes;
    };
    const auto invertedImage = Binary(size, inverted(test::PixelsOf<unsigned char>(*image)));
    for (const float radius : {1.0F, 2.5F, 7.0F, 30.0F}) {
        EXPECT_EQ(Result(&CSphericalMorphology::ReflectedErosion, *image, radius),
                  inverted(Result(&CSphericalMorphology::ReflectedDilation, *invertedImage, radius)));
    }
}

TEST(CSphericalMorphology, TreatsAnyNonZeroPixelAsObjectAndWritesOnes) {
    const auto image = Binary(CSize(4, 1), {0, 200, 0, 0});
    EXPECT_EQ(Result(&CSphericalMorphology::Dilate, *image, 1.0F), (Bytes{1, 1, 1, 0}));
    EXPECT_EQ(Result(&CSphericalMorphology::Closing, *image, 0.0F), (Bytes{0, 1, 0, 0}));
}

TEST(CSphericalMorphology, LeavesTheSourceAloneAndWorksInPlace) {
    std::mt19937 random(3);
    for (const float radius : {2.0F, 200.0F}) {
        const auto image = test::RandomBinary(random, radius > 126 ? CSize(33, 20) : CSize(33, 20, 17));
        for (const StOperation& operation : c_operations) {
            const Bytes before = test::PixelsOf<unsigned char>(*image);
            const Bytes expected = Result(operation.run, *image, radius);
            EXPECT_EQ(test::PixelsOf<unsigned char>(*image), before) << operation.name;
            CImage both(*image);
            CSphericalMorphology algorithm(nullptr, nullptr);
            (algorithm.*operation.run)(both, both, radius);
            EXPECT_EQ(test::PixelsOf<unsigned char>(both), expected) << operation.name;
        }
    }
}

TEST(CSphericalMorphology, AcceptsImagesOfOtherClassesAndWithBorders) {
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
    for (const StOperation& operation : c_operations) {
        CImage result(IMAGE_BINARY_FG, size, CSize(3, 0, 1));
        test::CForeignImage foreignResult(result);
        test::CForeignImage foreignSource(bordered);
        CSphericalMorphology algorithm(nullptr, nullptr);
        (algorithm.*operation.run)(foreignResult, foreignSource, 2.0F);
        EXPECT_EQ(test::PixelsOf<unsigned char>(result), Result(operation.run, *image, 2.0F))
            << operation.name;
    }
}

TEST(CSphericalMorphology, HasNothingToDoInAnEmptyImage) {
    CSize line(0, 1, 1);
    line.SetDim(1);
    for (const CSize& size : {CSize(0, 4, 5), CSize(4, 0, 5), CSize(4, 5, 0), CSize(0, 0), line}) {
        CImage image(IMAGE_BINARY_FG, size, CSize(0, 0, 0));
        for (const StOperation& operation : c_operations) {
            for (const float radius : {2.0F, 200.0F})
                EXPECT_TRUE(Result(operation.run, image, radius).empty())
                    << operation.name << size.ToString();
        }
    }
}

TEST_F(CSphericalMorphologyThreads, ChangeNoByteOfTheResult) {
    for (const CSize& size : {CSize(70, 60, 50), CSize(300, 40, 9), CSize(500, 300)}) {
        std::mt19937 random(11);
        const auto image = test::RandomImage<unsigned char>(IMAGE_BINARY_FG, size, random, 0.0, 1.02);
        for (const StOperation& operation : c_operations) {
            for (const float radius : {3.0F, 12.0F, size.Dim() == 2 ? 127.0F : 20.0F}) {
                SetThreadCount(1);
                const Bytes expected = Result(operation.run, *image, radius);
                for (const int count : {2, 7}) {
                    SetThreadCount(count);
                    EXPECT_EQ(Result(operation.run, *image, radius), expected) << operation.name << count;
                }
            }
        }
    }
}

TEST(CSphericalMorphology, StepsThroughPlanesAndBlocksOfLines) {
    CImage image(IMAGE_BINARY_FG, CSize(20, 30, 40), CSize(0, 0, 0));
    CImage result(IMAGE_BINARY_FG, image.Size(), CSize(0, 0, 0));
    test::CRecordingProgress progress;
    CSphericalMorphology algorithm(nullptr, nullptr);
    algorithm.SetProgress(CProgressProxy(&progress));
    algorithm.Opening(result, image, 3.0F);
    EXPECT_EQ(std::count(progress.calls.begin(), progress.calls.end(), "Start 70 Spherical morphology"), 2);
    EXPECT_EQ(std::count(progress.calls.begin(), progress.calls.end(), "Finish"), 2);
    EXPECT_EQ(progress.steps, 140U);
    EXPECT_TRUE(progress.isFromOneThread);
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

TEST_F(CSphericalMorphologyThreads, LeaveZerosAndNoErrorWhenCancelled) {
    const CSize size(20, 30, 40);
    const auto image = Binary(size, Bytes(24000, 1));
    for (const int threadCount : {1, 3}) {
        for (const StOperation& operation : c_operations) {
            for (const float radius : {3.0F, 130.0F}) {
                // Of several threads only the calling one asks, and nobody knows how often.
                for (const int times : {0, 1, threadCount == 1 ? 60 : 2}) {
                    SetThreadCount(threadCount);
                    CPatience progress(times);
                    CSphericalMorphology algorithm(nullptr, nullptr);
                    algorithm.SetProgress(CProgressProxy(&progress));
                    const auto result = Binary(size, Bytes(24000, 7));
                    // Without a seed in the image no map is made that could be cancelled.
                    const bool isAtOnce =
                        operation.run == &CSphericalMorphology::ReflectedErosion && radius > 126;
                    EXPECT_NO_THROW((algorithm.*operation.run)(*result, *image, radius));
                    EXPECT_EQ(Count(test::PixelsOf<unsigned char>(*result)), isAtOnce ? 24000 : 0)
                        << operation.name << radius;
                }
            }
        }
    }
}

TEST(CSphericalMorphology, RaisesForARadiusThatIsNone) {
    CImage image(IMAGE_BINARY_FG, CSize(3, 3), CSize(0, 0, 0));
    for (const StOperation& operation : c_operations) {
        for (const float radius : {-1.0F, -0.001F, -std::numeric_limits<float>::infinity(),
                                   std::numeric_limits<float>::quiet_NaN()}) {
            EXPECT_STREQ(test::Raised<CExBadParam>([&] { Result(operation.run, image, radius); }).Message(),
                         "Radius must not be negative.");
        }
    }
    EXPECT_NO_THROW(Result(&CSphericalMorphology::Erode, image, -0.0F));
}

TEST(CSphericalMorphology, RaisesForImagesThatDoNotFit) {
    for (const StOperation& operation : c_operations) {
        const auto failure = [&](const IImage::CType& type, const CSize& size,
                                 const IImage::CType& sourceType, const CSize& sourceSize) {
            CImage result(type, size, CSize(0, 0, 0));
            CImage source(sourceType, sourceSize, CSize(0, 0, 0));
            CSphericalMorphology algorithm(nullptr, nullptr);
            return std::string(test::Raised<CException>([&] {
                                   (algorithm.*operation.run)(result, source, 1.0F);
                               }).Message());
        };
        EXPECT_EQ(failure(IMAGE_GREY_8, CSize(2, 2), IMAGE_BINARY_FG, CSize(2, 2)),
                  "Images are of types IMAGE_BINARY_FG and IMAGE_GREY_8 and not of types IMAGE_BINARY_FG and "
                  "IMAGE_BINARY_FG.");
        EXPECT_EQ(failure(IMAGE_BINARY_FG, CSize(2, 2), IMAGE_GREY_8, CSize(2, 2)),
                  "Images are of types IMAGE_GREY_8 and IMAGE_BINARY_FG and not of types IMAGE_BINARY_FG and "
                  "IMAGE_BINARY_FG.");
        EXPECT_EQ(failure(IMAGE_BINARY_FG, CSize(2, 3), IMAGE_BINARY_FG, CSize(2, 2)),
                  "Result of size (2,3) does not fit the image of size (2,2).");
    }
}
