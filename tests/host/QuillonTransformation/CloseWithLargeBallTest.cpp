#include "oracles/DistanceOracle.h"
#include "support/CRandomSeeds.h"
#include "support/CThreadCount.h"
#include "support/MemoryRefusal.h"

#include <QuillonBase/CProgressProxy.h>
#include <QuillonBase/Parallel.h>
#include <QuillonTransformation/CSphericalMorphology.h>
#include <QuillonTransformation/CloseWithLargeBall.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {

using namespace ORVEN;
using Bytes = std::vector<unsigned char>;

Bytes Closed(const IImage& image, std::int64_t square) {
    CImage result(IMAGE_BINARY_FG, image.Size(), CSize(0, 0, 0));
    CProgressProxy progress;
    EXPECT_TRUE(CloseWithLargeBall(image, result, square, progress));
    return test::PixelsOf<unsigned char>(result);
}

/// An image in the middle of its border.
struct StFramed {
    StFramed(const CSize& imageSize, std::int64_t border)
        : size(imageSize)
        , frame(imageSize) {
        for (int axis = 0; axis < size.Dim(); ++axis) {
            margin[static_cast<std::size_t>(axis)] = border;
            frame[axis] += 2 * border;
        }
    }

    /// Calls `body(place, framedPlace)` for each pixel of the image.
    template <class Body>
    void ForEachPixel(const Body& body) const {
        std::size_t place = 0;
        const auto extent = [](const CSize& of, int axis) { return of.Dim() > axis ? of[axis] : 1; };
        for (std::int64_t z = 0; z < extent(size, 2); ++z) {
            for (std::int64_t y = 0; y < extent(size, 1); ++y) {
                for (std::int64_t x = 0; x < size.x; ++x) {
                    const std::int64_t row = (z + margin[2]) * extent(frame, 1) + y + margin[1];
                    body(place++, static_cast<std::size_t>(row * frame.x + x + margin[0]));
                }
            }
        }
    }

    CSize size;
    CSize frame;
    std::array<std::int64_t, 3> margin{};
};

std::int64_t RadiusOf(std::int64_t square) {
    return static_cast<std::int64_t>(std::sqrt(static_cast<double>(square)));
}

/// The definition: the erosion of the dilation, each pixel of the framed image against each seed.
Bytes ClosedByDefinition(const IImage& image, std::int64_t square) {
    const StFramed framed(image.Size(), RadiusOf(square));
    const auto near = [square](const test::StSeeds& seeds) {
        Bytes isNear;
        for (const double value : test::SquaredDistances(seeds))
            isNear.push_back(value != test::c_noDistance && value <= static_cast<double>(square) ? 1 : 0);
        return isNear;
    };
    const Bytes pixels = test::PixelsOf<unsigned char>(image);
    test::StSeeds object{framed.frame, Bytes(static_cast<std::size_t>(framed.frame.PixelCount()), 0)};
    framed.ForEachPixel([&](std::size_t place, std::size_t framedPlace) {
        object.isSeed[framedPlace] = pixels[place] != 0 ? 1 : 0;
    });
    test::StSeeds uncovered{framed.frame, near(object)};
    for (unsigned char& byte : uncovered.isSeed)
        byte ^= 1;
    const Bytes isReached = near(uncovered);
    Bytes closed(pixels.size());
    framed.ForEachPixel(
        [&](std::size_t place, std::size_t framedPlace) { closed[place] = isReached[framedPlace] ^ 1; });
    return closed;
}

/// The same from the dilation and the erosion of an image with all of the border around it.
Bytes ClosedWithBorder(const IImage& image, float radius) {
    const StFramed framed(image.Size(), static_cast<std::int64_t>(radius));
    const Bytes pixels = test::PixelsOf<unsigned char>(image);
    Bytes frame(static_cast<std::size_t>(framed.frame.PixelCount()), 0);
    framed.ForEachPixel(
        [&](std::size_t place, std::size_t framedPlace) { frame[framedPlace] = pixels[place]; });
    const auto work = test::ImageOf(IMAGE_BINARY_FG, framed.frame, frame);
    CSphericalMorphology(nullptr, nullptr).Dilate(*work, *work, radius);
    CSphericalMorphology(nullptr, nullptr).ReflectedErosion(*work, *work, radius);
    const Bytes eroded = test::PixelsOf<unsigned char>(*work);
    Bytes closed(pixels.size());
    framed.ForEachPixel(
        [&](std::size_t place, std::size_t framedPlace) { closed[place] = eroded[framedPlace]; });
    return closed;
}

/// Some pixels of the object, few enough for a large ball to pass between them.
std::unique_ptr<CImage> Scattered(std::mt19937& random, const CSize& size, int count) {
    Bytes pixels(static_cast<std::size_t>(size.PixelCount()), 0);
    for (int i = 0; i < count; ++i)
        pixels[random() % pixels.size()] = 1;
    return test::ImageOf(IMAGE_BINARY_FG, size, pixels);
}

std::size_t CountOf(const Bytes& pixels) {
    return static_cast<std::size_t>(std::count(pixels.begin(), pixels.end(), 1));
}

} // namespace

TEST(CloseWithLargeBall, FollowsTheDefinitionForBallsOfEverySizeInRandomImages) {
    std::size_t changed = 0;
    std::size_t kept = 0;
    for (const unsigned seed : test::CRandomSeeds(0, 150)) {
        std::mt19937 random(seed);
        const CSize size = test::RandomSize(random, 7);
        // Up to a radius of twice the largest image.
        const auto square = static_cast<std::int64_t>(random() % (size.Dim() == 3 ? 70 : 250));
        const auto image = seed % 2 == 0 ? test::RandomBinary(random, size)
                                         : Scattered(random, size, 1 + static_cast<int>(random() % 5));
        const Bytes closed = Closed(*image, square);
        ASSERT_EQ(closed, ClosedByDefinition(*image, square)) << size.ToString() << ", square " << square;
        const std::size_t before = CountOf(test::PixelsOf<unsigned char>(*image));
        changed += CountOf(closed) > before ? 1 : 0;
        kept += before > 0 && CountOf(closed) < closed.size() ? 1 : 0;
    }
    EXPECT_GT(changed, 20U); // neither of the answers that are always easy
    EXPECT_GT(kept, 20U);
}

TEST(CloseWithLargeBall, FollowsTheDefinitionWhicheverAxisIsTheLongest) {
    for (const CSize& size : {CSize(9, 5, 2), CSize(9, 2, 5), CSize(5, 9, 2), CSize(2, 9, 5), CSize(5, 2, 9),
                              CSize(2, 5, 9), CSize(4, 4, 4), CSize(12, 3), CSize(3, 12), CSize(1, 1, 1)}) {
        for (const std::int64_t square : {1, 10, 30, 81}) {
            std::mt19937 random(static_cast<unsigned>(square));
            const auto image = Scattered(random, size, 6);
            EXPECT_EQ(Closed(*image, square), ClosedByDefinition(*image, square))
                << size.ToString() << square;
        }
    }
}

TEST(CloseWithLargeBall, RefusesPlanesThatDoNotFit) {
    const CImage source(IMAGE_BINARY_FG, CSize(1000, 1000), CSize(0, 0, 0));
    CImage result(IMAGE_BINARY_FG, source.Size(), CSize(0, 0, 0));
    CProgressProxy progress;
    const std::int64_t radius = 30000;
    test::ExpectRefusedForLackOfMemory("A closing with this radius", [&] {
        (void)CloseWithLargeBall(source, result, radius * radius, progress);
    });
}

TEST(CSphericalMorphology, ClosesAsWithAllOfTheBorderWhateverTheRadius) {
    const std::vector<std::pair<CSize, float>> cases{{CSize(40, 30), 126.0F},   {CSize(40, 30), 127.0F},
                                                     {CSize(40, 30), 200.5F},   {CSize(40, 30), 1000.0F},
                                                     {CSize(400, 9), 130.0F},   {CSize(9, 400), 130.0F},
                                                     {CSize(300, 300), 128.0F}, {CSize(7, 6), 1200.0F},
                                                     {CSize(5, 4, 3), 127.0F},  {CSize(20, 3, 1), 140.0F}};
    std::size_t changed = 0;
    for (const auto& [size, radius] : cases) {
        SCOPED_TRACE(size.ToString() + ", radius " + std::to_string(radius));
        std::mt19937 random(static_cast<unsigned>(radius));
        for (const int count : {2, 5}) {
            const auto image = Scattered(random, size, count);
            CQuillonHeaderTools::SetSpacing(*image, 0.5, 2.0, 7.0); // plays no part
            CImage result(IMAGE_BINARY_FG, size, CSize(0, 0, 0));
            CSphericalMorphology(nullptr, nullptr).Closing(result, *image, radius);
            const Bytes closed = test::PixelsOf<unsigned char>(result);
            ASSERT_EQ(closed, ClosedWithBorder(*image, radius));
            changed += CountOf(closed) > CountOf(test::PixelsOf<unsigned char>(*image)) ? 1 : 0;
            CSphericalMorphology(nullptr, nullptr).Closing(*image, *image, radius);
            ASSERT_EQ(test::PixelsOf<unsigned char>(*image), closed);
        }
    }
    EXPECT_GT(changed, 3U);
}

TEST(CSphericalMorphology, ClosesTheSameOnAnyNumberOfThreadsWithALargeBall) {
    std::mt19937 random(3);
    const auto image = Scattered(random, CSize(60, 50, 8), 40);
    const auto closed = [&](int threadCount) {
        const test::CThreadCount threads(threadCount);
        CImage result(IMAGE_BINARY_FG, image->Size(), CSize(0, 0, 0));
        CSphericalMorphology(nullptr, nullptr).Closing(result, *image, 130.0F);
        return test::PixelsOf<unsigned char>(result);
    };
    const Bytes expected = closed(1);
    EXPECT_GT(CountOf(expected), 40U);
    for (const int threadCount : {2, 5})
        EXPECT_EQ(closed(threadCount), expected);
}

namespace {

std::int64_t PeakMegabytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
}

} // namespace

// In a process of its own, as the peak of a process never falls.
TEST(CSphericalMorphologyDeathTest, ClosesATinyImageWithAHugeBallInLittleMemory) {
    const auto close = [] {
        const CSize size(10, 9, 5);
        Bytes pixels(static_cast<std::size_t>(size.PixelCount()), 0);
        pixels.front() = 1;
        pixels.back() = 1;
        const auto image = test::ImageOf(IMAGE_BINARY_FG, size, pixels);
        const std::int64_t before = PeakMegabytes();
        CSphericalMorphology(nullptr, nullptr).Closing(*image, *image, 220.0F);
        const std::int64_t taken = PeakMegabytes() - before;
        if (taken > 32)
            std::fprintf(stderr, "%lld megabytes\n", static_cast<long long>(taken));
        std::exit(taken <= 32 ? 0 : 1); // 440 with a border all around
    };
    EXPECT_EXIT(close(), testing::ExitedWithCode(0), "");
}
