#include <QuillonGranulometry/CGranulometry.h>

#include "support/CRandomSeeds.h"
#include "support/CRecordingProgress.h"
#include "support/CThreadCount.h"
#include "support/Raised.h"
#include "support/TestImage.h"

#include <QuillonBase/Parallel.h>
#include <sorblib2core/CExBadParam.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;

using Histogram = std::map<float, std::uint64_t>;
using Pixel = std::array<int, 3>;

struct StResult {
    std::vector<float> output;
    Histogram histogram;

    friend bool operator==(const StResult&, const StResult&) = default;
};

/// The arguments of a call except the images.
struct StCall {
    double stepWidth = -1.0;
    bool isFiltered = false;
    bool isOnForeground = true;
    int mode = 2;
};

StResult Measure(const CImage& image, const StCall& call = {}) {
    CImage output(IMAGE_GREY_F, image.Size(), CSize(0, 0, 0));
    StResult result;
    result.histogram[77.0F] = 7; // from an earlier measurement
    CGranulometry(nullptr, nullptr)
        .DoSphereGranulometryBinned(image, output, result.histogram, call.stepWidth, call.isFiltered,
                                    call.isOnForeground, call.mode);
    result.output = test::PixelsOf<float>(output);
    return result;
}

/// The result by definition: all balls as sets of pixels, each compared with each.
class CSlowTwin {
public:
    CSlowTwin(const CImage& image, const StCall& call)
        : m_call(call)
        , m_dimension(image.Size().Dim())
        , m_size{static_cast<int>(image.Size().x), m_dimension > 1 ? static_cast<int>(image.Size().y) : 1,
                 m_dimension > 2 ? static_cast<int>(image.Size().z) : 1} {
        for (const unsigned char pixel : test::PixelsOf<unsigned char>(image))
            m_isPhase.push_back((pixel != 0) == call.isOnForeground);
        for (int z = 0; z < m_size[2]; ++z) {
            for (int y = 0; y < m_size[1]; ++y) {
                for (int x = 0; x < m_size[0]; ++x)
                    m_pixels.push_back({x, y, z});
            }
        }
        for (const Pixel& pixel : m_pixels)
            m_distances.push_back(IsPhase(pixel) ? DistanceAt(pixel) : 0);
    }

    [[nodiscard]] StResult Measure(double spacing) const {
        StResult result;
        for (const Pixel& pixel : m_pixels) {
            int squared = 0;
            if (m_call.isFiltered)
                squared = IsMaximal(pixel) ? m_distances[Index(pixel)] : 0;
            else
                squared = OpeningSizeAt(pixel);
            const double diameter = 2.0 * std::sqrt(static_cast<double>(squared)) * spacing;
            const double binned = m_call.stepWidth > 0.0
                                      ? std::floor(diameter / m_call.stepWidth + 1e-9) * m_call.stepWidth
                                      : diameter;
            result.output.push_back(static_cast<float>(binned));
            if (binned > 0.0)
                ++result.histogram[static_cast<float>(binned)];
        }
        return result;
    }

private:
    [[nodiscard]] std::size_t Index(const Pixel& pixel) const {
        return static_cast<std::size_t>((pixel[2] * m_size[1] + pixel[1]) * m_size[0] + pixel[0]);
    }
    [[nodiscard]] bool IsPhase(const Pixel& pixel) const { return m_isPhase[Index(pixel)]; }

    static int SquaredDistance(const Pixel& a, const Pixel& b) {
        return (a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]) + (a[2] - b[2]) * (a[2] - b[2]);
    }

    [[nodiscard]] int DistanceAt(const Pixel& pixel) const {
        int least = std::numeric_limits<int>::max();
        for (const Pixel& other : m_pixels) {
            if (!IsPhase(other))
                least = std::min(least, SquaredDistance(pixel, other));
        }
        for (std::size_t axis = 0; (m_call.mode & 1) == 0 && axis < static_cast<std::size_t>(m_dimension);
             ++axis) {
            const int toOutside = std::min(pixel[axis] + 1, m_size[axis] - pixel[axis]);
            least = std::min(least, toOutside * toOutside);
        }
        return least == std::numeric_limits<int>::max() ? 0 : least;
    }

    [[nodiscard]] int OpeningSizeAt(const Pixel& pixel) const {
        int greatest = 0;
        for (const Pixel& center : m_pixels) {
            if (SquaredDistance(pixel, center) < m_distances[Index(center)])
                greatest = std::max(greatest, m_distances[Index(center)]);
        }
        return IsPhase(pixel) ? greatest : 0;
    }

    /// Calls `body` for the pixels of a ball, inside and outside the image, until it returns false.
    template <class Body>
    bool AllOfBall(const Pixel& center, const Body& body) const {
        const int squared = m_distances[Index(center)];
        const int reach = static_cast<int>(std::sqrt(static_cast<double>(squared)));
        const int reachY = m_dimension > 1 ? reach : 0;
        const int reachZ = m_dimension > 2 ? reach : 0;
        for (int z = -reachZ; z <= reachZ; ++z) {
            for (int y = -reachY; y <= reachY; ++y) {
                for (int x = -reach; x <= reach; ++x) {
                    if (x * x + y * y + z * z < squared &&
                        !body(Pixel{center[0] + x, center[1] + y, center[2] + z}))
                        return false;
                }
            }
        }
        return true;
    }

    [[nodiscard]] bool IsMaximal(const Pixel& pixel) const {
        if (m_distances[Index(pixel)] == 0)
            return false;
        return std::ranges::none_of(m_pixels, [&](const Pixel& other) {
            const int squared = m_distances[Index(other)];
            return squared > m_distances[Index(pixel)] && SquaredDistance(pixel, other) < squared &&
                   AllOfBall(pixel,
                             [&](const Pixel& inside) { return SquaredDistance(inside, other) < squared; });
        });
    }

    StCall m_call;
    int m_dimension;
    std::array<int, 3> m_size;
    std::vector<bool> m_isPhase;
    std::vector<Pixel> m_pixels;
    std::vector<int> m_distances;
};

/// Opening sizes, unfiltered, for larger images: the balls of all pixels are painted, one after the other.
class CPaintingTwin {
public:
    CPaintingTwin(const CImage& image, bool isOnForeground, int mode)
        : m_size{static_cast<int>(image.Size().x),
                 image.Size().Dim() > 1 ? static_cast<int>(image.Size().y) : 1,
                 image.Size().Dim() > 2 ? static_cast<int>(image.Size().z) : 1} {
        constexpr int none = std::numeric_limits<int>::max();
        for (const unsigned char pixel : test::PixelsOf<unsigned char>(image))
            m_distances.push_back((pixel != 0) == isOnForeground ? none : 0);
        for (std::size_t axis = 0; axis < static_cast<std::size_t>(image.Size().Dim()); ++axis)
            AddAxis(axis, (mode & 1) == 0);
        std::ranges::replace(m_distances, none, 0);
    }

    [[nodiscard]] std::vector<float> OpeningSizes() const {
        std::vector<int> greatest(m_distances.size(), 0);
        ForEachPixel([&](const Pixel& center) {
            const int squared = m_distances[Index(center)];
            const int reach = static_cast<int>(std::sqrt(static_cast<double>(squared)));
            const auto first = [&](std::size_t axis) { return std::max(center[axis] - reach, 0); };
            const auto last = [&](std::size_t axis) {
                return std::min(center[axis] + reach, m_size[axis] - 1);
            };
            for (int z = first(2); z <= last(2); ++z) {
                for (int y = first(1); y <= last(1); ++y) {
                    for (int x = first(0); x <= last(0); ++x) {
                        const int dx = x - center[0];
                        const int dy = y - center[1];
                        const int dz = z - center[2];
                        int& size = greatest[Index({x, y, z})];
                        if (dx * dx + dy * dy + dz * dz < squared)
                            size = std::max(size, squared);
                    }
                }
            }
        });
        std::vector<float> diameters;
        for (const int squared : greatest)
            diameters.push_back(static_cast<float>(2.0 * std::sqrt(static_cast<double>(squared))));
        return diameters;
    }

private:
    [[nodiscard]] std::size_t Index(const Pixel& pixel) const {
        return static_cast<std::size_t>((pixel[2] * m_size[1] + pixel[1]) * m_size[0] + pixel[0]);
    }

    template <class Body>
    void ForEachPixel(const Body& body) const {
        for (int z = 0; z < m_size[2]; ++z) {
            for (int y = 0; y < m_size[1]; ++y) {
                for (int x = 0; x < m_size[0]; ++x)
                    body(Pixel{x, y, z});
            }
        }
    }

    /// Adds the squared distances along an axis.
    void AddAxis(std::size_t axis, bool isOutsideSeed) {
        const std::vector<int> before = m_distances;
        ForEachPixel([&](const Pixel& pixel) {
            int& distance = m_distances[Index(pixel)];
            for (int place = -1; place <= m_size[axis]; ++place) {
                Pixel other = pixel;
                other[axis] = place;
                const bool isOutside = place < 0 || place == m_size[axis];
                const int value =
                    isOutside ? (isOutsideSeed ? 0 : std::numeric_limits<int>::max()) : before[Index(other)];
                const int step = place - pixel[axis];
                if (value != std::numeric_limits<int>::max())
                    distance = std::min(distance, value + step * step);
            }
        });
    }

    std::array<int, 3> m_size;
    std::vector<int> m_distances;
};

/// Overlapping balls in an empty image, which gives structures of all thicknesses.
std::unique_ptr<CImage> Blobs(const CSize& size, std::mt19937& random, int count, double greatestRadius) {
    auto image = std::make_unique<CImage>(IMAGE_BINARY_FG, size, CSize(0, 0, 0));
    const CImageView<unsigned char> pixels(*image);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    for (int blob = 0; blob < count; ++blob) {
        const double centerX = uniform(random) * static_cast<double>(pixels.nx);
        const double centerY = uniform(random) * static_cast<double>(pixels.ny);
        const double centerZ = uniform(random) * static_cast<double>(pixels.nz - 1);
        const double radius = uniform(random) * greatestRadius;
        for (std::int64_t z = 0; z < pixels.nz; ++z) {
            for (std::int64_t y = 0; y < pixels.ny; ++y) {
                for (std::int64_t x = 0; x < pixels.nx; ++x) {
                    const double dx = static_cast<double>(x) - centerX;
                    const double dy = static_cast<double>(y) - centerY;
                    const double dz = static_cast<double>(z) - centerZ;
                    if (dx * dx + dy * dy + dz * dz <= radius * radius)
                        pixels.Row(y, z)[x] = static_cast<unsigned char>(1 + random() % 255);
                }
            }
        }
    }
    return image;
}

/// An image whose foreground is given by `isForeground(x, y, z)`.
template <class IsForeground>
std::unique_ptr<CImage> Shape(const CSize& size, const IsForeground& isForeground) {
    auto image = std::make_unique<CImage>(IMAGE_BINARY_FG, size, CSize(0, 0, 0));
    const CImageView<unsigned char> pixels(*image);
    for (int z = 0; z < pixels.nz; ++z) {
        for (int y = 0; y < pixels.ny; ++y) {
            for (int x = 0; x < pixels.nx; ++x)
                pixels.Row(y, z)[x] = isForeground(x, y, z) ? 1 : 0;
        }
    }
    return image;
}

std::unique_ptr<CImage> Full(const CSize& size) {
    return Shape(size, [](int, int, int) { return true; });
}

/// The lattice ball or disc of all pixels up to a distance from the centre of the image.
std::unique_ptr<CImage> Ball(int dimension, int radius) {
    const int edge = 2 * radius + 5;
    const int middle = radius + 2;
    CSize size(edge, edge, edge);
    if (dimension == 2)
        size = CSize(edge, edge);
    return Shape(size, [=](int x, int y, int z) {
        const int depth = dimension == 2 ? 0 : z - middle;
        return (x - middle) * (x - middle) + (y - middle) * (y - middle) + depth * depth <= radius * radius;
    });
}

float DiameterOf(int squaredDistance) {
    return static_cast<float>(2.0 * std::sqrt(static_cast<double>(squaredDistance)));
}

std::uint64_t SumOf(const Histogram& histogram) {
    return std::accumulate(histogram.begin(), histogram.end(), std::uint64_t{0},
                           [](std::uint64_t sum, const auto& entry) { return sum + entry.second; });
}

void ExpectAsTheSlowTwin(const CImage& image, const StCall& call) {
    SCOPED_TRACE(testing::Message() << "step " << call.stepWidth << " filtered " << call.isFiltered
                                    << " foreground " << call.isOnForeground << " mode " << call.mode
                                    << " size " << image.Size().ToString());
    const StResult ours = Measure(image, call);
    const StResult twins = CSlowTwin(image, call).Measure(1.0);
    EXPECT_EQ(ours.output, twins.output);
    EXPECT_EQ(ours.histogram, twins.histogram);
}

void ExpectAllCallsAsTheSlowTwin(const CImage& image) {
    for (const bool isFiltered : {false, true}) {
        for (const bool isOnForeground : {false, true}) {
            for (int mode = 0; mode < 4; ++mode) {
                for (const double stepWidth : {-1.0, 1.5})
                    ExpectAsTheSlowTwin(image, {stepWidth, isFiltered, isOnForeground, mode});
            }
        }
    }
}

TEST(Granulometry, EqualsTheDefinitionOnNoise) {
    for (const unsigned seed : test::CRandomSeeds(1, 13)) {
        std::mt19937 random(seed);
        const auto extent = [&random](int greatest) {
            return static_cast<std::int64_t>(1 + random() % greatest);
        };
        const double share = 0.3 + 0.1 * static_cast<double>(seed % 7);
        const auto threshold = 1.0 / (1.0 - std::min(share, 0.95));
        ExpectAllCallsAsTheSlowTwin(*test::RandomImage<unsigned char>(
            IMAGE_BINARY_FG, CSize(extent(15), extent(15)), random, 0.0, threshold));
        ExpectAllCallsAsTheSlowTwin(*test::RandomImage<unsigned char>(
            IMAGE_BINARY_FG, CSize(extent(7), extent(7), extent(7)), random, 0.0, threshold));
    }
}

TEST(Granulometry, EqualsTheDefinitionOnBlobs) {
    for (const unsigned seed : test::CRandomSeeds(1, 7)) {
        std::mt19937 random(seed);
        ExpectAllCallsAsTheSlowTwin(*Blobs(CSize(23, 17), random, 6, 7.0));
        ExpectAllCallsAsTheSlowTwin(*Blobs(CSize(9, 8, 10), random, 5, 5.0));
    }
}

TEST(Granulometry, EqualsTheDefinitionAcrossTheWordsOfARow) {
    for (const unsigned seed : test::CRandomSeeds(1, 4)) {
        std::mt19937 random(seed);
        for (const std::int64_t nx : {63, 64, 65, 130}) {
            const auto image = Blobs(CSize(nx, 9), random, 14, 7.0);
            ExpectAsTheSlowTwin(*image, {});
            ExpectAsTheSlowTwin(*image, {.isFiltered = true, .isOnForeground = false, .mode = 1});
        }
    }
}

TEST(Granulometry, EqualsTheDefinitionAcrossSlabs) {
    std::mt19937 random(5);
    const auto image = Blobs(CSize(5, 6, 40), random, 30, 5.0);
    ExpectAsTheSlowTwin(*image, {});
    ExpectAsTheSlowTwin(*image, {.isOnForeground = false, .mode = 1});
    ExpectAsTheSlowTwin(*image, {.isFiltered = true, .isOnForeground = false, .mode = 1});
}

void ExpectAsThePaintingTwin(const CImage& image) {
    for (const bool isOnForeground : {false, true}) {
        for (const int mode : {0, 1}) {
            SCOPED_TRACE(testing::Message() << "foreground " << isOnForeground << " mode " << mode << " size "
                                            << image.Size().ToString());
            const StResult ours = Measure(image, {.isOnForeground = isOnForeground, .mode = mode});
            EXPECT_EQ(ours.output, CPaintingTwin(image, isOnForeground, mode).OpeningSizes());
            Histogram ofOutput;
            for (const float diameter : ours.output) {
                if (diameter > 0.0F)
                    ++ofOutput[diameter];
            }
            EXPECT_EQ(ours.histogram, ofOutput);
        }
    }
}

TEST(Granulometry, EqualsAllBallsPaintedOnLargeBlobs) {
    for (const unsigned seed : test::CRandomSeeds(20, 22)) {
        std::mt19937 random(seed);
        const auto extent = [&random](int greatest) {
            return static_cast<std::int64_t>(greatest - static_cast<int>(random() % 20));
        };
        ExpectAsThePaintingTwin(*Blobs(CSize(extent(70), extent(56), extent(60)), random, 9, 22.0));
        ExpectAsThePaintingTwin(*Blobs(CSize(extent(50), extent(50), extent(50)), random, 90, 8.0));
        ExpectAsThePaintingTwin(*Blobs(CSize(extent(160), extent(130)), random, 20, 40.0));
    }
}

/// Work is divided into blocks of rows and layers, and small balls are treated in words of pixels.
TEST(Granulometry, EqualsAllBallsPaintedAcrossBlocks) {
    std::mt19937 random(23);
    const auto image = Blobs(CSize(130, 70, 40), random, 600, 5.0);
    const auto large = Blobs(CSize(130, 70, 40), random, 12, 12.0);
    const CImageView<unsigned char> pixels(*image);
    const CImageView<const unsigned char> others(*large);
    std::transform(pixels.Row(0, 0), pixels.Row(0, 0) + pixels.PixelCount(), others.Row(0, 0),
                   pixels.Row(0, 0), std::bit_or<>());
    ExpectAsThePaintingTwin(*image);
}

/// Straight walls have many equal balls.
TEST(Granulometry, EqualsAllBallsPaintedInBoxesAndPlates) {
    for (const CSize& size : {CSize(36, 32, 34), CSize(70, 26, 27), CSize(9, 50, 50), CSize(90, 100)})
        ExpectAsThePaintingTwin(*Full(size));
    ExpectAsThePaintingTwin(*Shape(CSize(48, 40, 44), [](int x, int y, int z) {
        return x > 6 && x < 33 && (y < 18 || y > 20) && z != 27;
    }));
    ExpectAsThePaintingTwin(*Ball(3, 22));
}

/// Balls whose squared radii need more digits than floats have.
TEST(Granulometry, EqualsAllBallsPaintedInLongLines) {
    for (const unsigned seed : test::CRandomSeeds(30, 34)) {
        std::mt19937 random(seed);
        std::array<int, 6> gaps{};
        for (int& gap : gaps)
            gap = static_cast<int>(random() % 9000);
        const auto lines = Shape(CSize(9000, 2), [&gaps](int x, int /*y*/, int) {
            return std::ranges::find(gaps, x) == gaps.end();
        });
        const StResult ours = Measure(*lines, {.mode = 1});
        EXPECT_EQ(ours.output, CPaintingTwin(*lines, true, 1).OpeningSizes());
    }
}

TEST(Granulometry, WorksInOneDimension) {
    CSize size(9, 1, 1);
    size.SetDim(1);
    const auto line = Shape(size, [](int x, int, int) { return x >= 2 && x < 7; });
    const StResult result = Measure(*line);
    EXPECT_EQ(result.output, (std::vector<float>{0, 0, 6, 6, 6, 6, 6, 0, 0}));
    ExpectAllCallsAsTheSlowTwin(*line);
}

TEST(Granulometry, EveryPixelOfALatticeBallHasItsDiameter) {
    // Radius, squared distance from the centre to the outside, number of pixels in 2-d and in 3-d.
    constexpr std::array<std::array<int, 4>, 4> balls{
        {{1, 2, 5, 7}, {2, 5, 13, 33}, {3, 10, 29, 123}, {5, 26, 81, 515}}};
    for (const auto& [radius, squared, count2, count3] : balls) {
        for (const int dimension : {2, 3}) {
            const auto image = Ball(dimension, radius);
            const auto count = static_cast<std::uint64_t>(dimension == 2 ? count2 : count3);
            EXPECT_EQ(Measure(*image).histogram, (Histogram{{DiameterOf(squared), count}})) << radius;
            EXPECT_EQ(Measure(*image, {.isFiltered = true}).histogram, (Histogram{{DiameterOf(squared), 1}}))
                << radius;
        }
    }
}

TEST(Granulometry, DistinguishesTwoDiscs) {
    const auto discs = Shape(CSize(24, 15), [](int x, int y, int) {
        return (x - 7) * (x - 7) + (y - 7) * (y - 7) <= 25 || (x - 17) * (x - 17) + (y - 7) * (y - 7) <= 16;
    });
    EXPECT_EQ(Measure(*discs).histogram, (Histogram{{DiameterOf(17), 49}, {DiameterOf(26), 81}}));
    EXPECT_EQ(Measure(*discs, {.isFiltered = true}).histogram,
              (Histogram{{DiameterOf(17), 1}, {DiameterOf(26), 1}}));
}

TEST(Granulometry, StripsHaveTheEvenDiameterBelowOrAboveTheirWidth) {
    constexpr std::array<int, 6> squares{1, 1, 4, 4, 9, 9};
    for (int width = 1; width <= 6; ++width) {
        const auto strip =
            Shape(CSize(20, width + 4), [width](int, int y, int) { return y >= 2 && y < width + 2; });
        const auto count = static_cast<std::uint64_t>(20 * width);
        const auto squared = squares[static_cast<std::size_t>(width - 1)];
        EXPECT_EQ(Measure(*strip).histogram, (Histogram{{DiameterOf(squared), count}})) << width;
    }
}

TEST(Granulometry, TheBorderLimitsBallsUnlessTheModeSaysOtherwise) {
    EXPECT_EQ(Measure(*Full(CSize(5, 5)), {.mode = 0}).histogram.rbegin()->first, DiameterOf(9));
    const StResult unlimited = Measure(*Full(CSize(5, 5)), {.mode = 1});
    EXPECT_TRUE(unlimited.histogram.empty());
    EXPECT_EQ(unlimited.output, std::vector<float>(25, 0.0F));
}

TEST(Granulometry, RoundsDownToTheLowerEdgeOfABin) {
    EXPECT_EQ(Measure(*Full(CSize(5, 5)), {.stepWidth = 2.5}).histogram, (Histogram{{5.0F, 25}}));
    const auto strip = Shape(CSize(7, 7), [](int, int y, int) { return y >= 1 && y < 6; });
    EXPECT_EQ(Measure(*strip, {.stepWidth = 2.5, .mode = 1}).histogram, (Histogram{{5.0F, 35}}));
    // A diameter of 6 is three steps of 2; rounding must not reduce it to two.
    EXPECT_EQ(Measure(*strip, {.stepWidth = 2.0, .mode = 1}).histogram, (Histogram{{6.0F, 35}}));
    EXPECT_EQ(Measure(*strip, {.stepWidth = 0.1, .mode = 1}).histogram, (Histogram{{6.0F, 35}}));
}

TEST(Granulometry, StructuresThinnerThanAStepAreNotCounted) {
    const StResult result = Measure(*Full(CSize(5, 5)), {.stepWidth = 7.0});
    EXPECT_TRUE(result.histogram.empty());
    EXPECT_EQ(result.output, std::vector<float>(25, 0.0F));
}

TEST(Granulometry, AnInvalidStepWidthDoesNotBin) {
    const auto image = Full(CSize(5, 8));
    const StResult plain = Measure(*image);
    for (const double width :
         {0.0, -2.5, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()})
        EXPECT_EQ(Measure(*image, {.stepWidth = width}), plain) << width;
}

TEST(Granulometry, CountsTheMaximalBallsOfABox) {
    EXPECT_EQ(Measure(*Full(CSize(5, 8)), {.isFiltered = true}).histogram.at(DiameterOf(9)), 4U);
    EXPECT_EQ(Measure(*Full(CSize(4, 6, 9))).histogram, (Histogram{{4.0F, 216}}));
    EXPECT_EQ(Measure(*Full(CSize(4, 6, 9)), {.isFiltered = true}).histogram, (Histogram{{4.0F, 56}}));
    for (const CSize& size : {CSize(5, 5), CSize(5, 8), CSize(4, 6, 9)})
        ExpectAllCallsAsTheSlowTwin(*Full(size));
}

TEST(Granulometry, ASinglePixelHasDiameter2) {
    for (const CSize& size : {CSize(1, 1), CSize(1, 1, 1)}) {
        for (const bool isFiltered : {false, true})
            EXPECT_EQ(Measure(*Full(size), {.isFiltered = isFiltered}).histogram, (Histogram{{2.0F, 1}}));
    }
}

TEST(Granulometry, AnEmptyStructureYieldsAnEmptyResult) {
    for (const int mode : {0, 1, 2, 3}) {
        const StResult result = Measure(*Full(CSize(4, 3, 2)), {.isOnForeground = false, .mode = mode});
        EXPECT_TRUE(result.histogram.empty());
        EXPECT_EQ(result.output, std::vector<float>(24, 0.0F));
    }
}

TEST(Granulometry, CountsEveryPixelOfTheStructureOnce) {
    std::mt19937 random(3);
    const auto image = Blobs(CSize(70, 50, 40), random, 60, 12.0);
    const auto pixels = test::PixelsOf<unsigned char>(*image);
    const auto foreground = static_cast<std::uint64_t>(pixels.size()) -
                            static_cast<std::uint64_t>(std::count(pixels.begin(), pixels.end(), 0));
    for (const bool isOnForeground : {false, true}) {
        const StResult result = Measure(*image, {.isOnForeground = isOnForeground});
        EXPECT_EQ(SumOf(result.histogram), isOnForeground ? foreground : pixels.size() - foreground);
        Histogram ofOutput;
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            ASSERT_EQ(result.output[i] > 0.0F, (pixels[i] != 0) == isOnForeground);
            if (result.output[i] > 0.0F)
                ++ofOutput[result.output[i]];
        }
        EXPECT_EQ(ofOutput, result.histogram);
    }
}

TEST(Granulometry, DoesNotDependOnTheOrientation) {
    std::mt19937 random(4);
    const auto image = Blobs(CSize(30, 22, 18), random, 25, 8.0);
    const CImageView<const unsigned char> pixels(*image);
    const auto turned = Shape(CSize(18, 30, 22), [&](int x, int y, int z) {
        return pixels.Row(pixels.ny - 1 - z, x)[pixels.nx - 1 - y] != 0;
    });
    for (const bool isFiltered : {false, true}) {
        for (const int mode : {0, 1}) {
            const StCall call{.isFiltered = isFiltered, .mode = mode};
            const StResult before = Measure(*image, call);
            const StResult after = Measure(*turned, call);
            EXPECT_EQ(before.histogram, after.histogram);
            for (std::int64_t z = 0; z < 22; ++z) {
                for (std::int64_t y = 0; y < 30; ++y) {
                    for (std::int64_t x = 0; x < 18; ++x) {
                        const auto place = static_cast<std::size_t>((x * 22 + (21 - z)) * 30 + (29 - y));
                        ASSERT_EQ(after.output[static_cast<std::size_t>((z * 30 + y) * 18 + x)],
                                  before.output[place]);
                    }
                }
            }
        }
    }
}

TEST(Granulometry, MeasuresInTheSpacingAlongX) {
    std::mt19937 random(6);
    const auto image = Blobs(CSize(15, 12, 9), random, 12, 5.0);
    const Histogram plain = Measure(*image).histogram;
    CQuillonHeaderTools::SetSpacing(*image, 0.25, 3.0, 3.0);
    const Histogram scaled = Measure(*image).histogram;
    ASSERT_EQ(scaled.size(), plain.size());
    for (auto a = plain.begin(), b = scaled.begin(); a != plain.end(); ++a, ++b) {
        EXPECT_EQ(b->first, 0.25F * a->first);
        EXPECT_EQ(b->second, a->second);
    }
    for (const double none :
         {0.0, -1.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        CQuillonHeaderTools::SetSpacing(*image, none, 1.0, 1.0);
        EXPECT_EQ(Measure(*image).histogram, plain) << none;
    }
}

TEST(Granulometry, FilteredAndUnfilteredHaveTheSameLargestBall) {
    std::mt19937 random(8);
    const auto image = Blobs(CSize(200, 160), random, 40, 25.0);
    const Histogram sizes = Measure(*image).histogram;
    const Histogram balls = Measure(*image, {.isFiltered = true}).histogram;
    EXPECT_EQ(sizes.rbegin()->first, balls.rbegin()->first);
    EXPECT_LT(SumOf(balls), SumOf(sizes) / 4);
    for (const auto& [diameter, count] : sizes)
        EXPECT_TRUE(balls.contains(diameter)) << diameter;
}

/// The same pixels and counts for any number of threads.
TEST(Granulometry, DoesNotDependOnTheNumberOfThreads) {
    std::mt19937 random(9);
    const auto volume = Blobs(CSize(50, 45, 80), random, 120, 9.0);
    const auto plane = Blobs(CSize(300, 400), random, 100, 25.0);
    for (const CImage* image : {volume.get(), plane.get()}) {
        for (const StCall& call :
             {StCall{}, StCall{.isFiltered = true},
              StCall{.stepWidth = 1.5, .isFiltered = true, .isOnForeground = false, .mode = 1}}) {
            SetThreadCount(1);
            const StResult one = Measure(*image, call);
            for (const int count : {2, 3, 8, 16}) {
                SetThreadCount(count);
                EXPECT_EQ(Measure(*image, call), one) << count;
            }
            SetThreadCount(0);
        }
    }
}

/// Cancels at the n-th query.
class CCancelAt : public test::CRecordingProgress {
public:
    explicit CCancelAt(int question)
        : m_left(question) {}
    bool IsCancelled() override {
        if (m_left-- <= 0)
            isCancelled = true;
        return isCancelled;
    }

private:
    std::atomic<int> m_left;
};

TEST(Granulometry, ACancelledRunReturnsAnEmptyResultAndDoesNotRaise) {
    std::mt19937 random(10);
    const auto image = Blobs(CSize(20, 20, 40), random, 20, 6.0);
    const test::CThreadCount threads(1);
    for (const bool isFiltered : {false, true}) {
        for (const int mode : {0, 1}) {
            const StCall call{.isFiltered = isFiltered, .mode = mode};
            const StResult complete = Measure(*image, call);
            bool isComplete = false;
            for (int question = 0; !isComplete; ++question) {
                CCancelAt progress(question);
                CImage output(IMAGE_GREY_F, image->Size(), CSize(0, 0, 0));
                std::ranges::fill_n(CImageView<float>(output).Row(0, 0), 1000, 5.0F);
                Histogram histogram{{5.0F, 5}};
                CGranulometry granulometry(nullptr, nullptr);
                granulometry.SetProgress(CProgressProxy(&progress));
                granulometry.DoSphereGranulometryBinned(*image, output, histogram, -1.0, isFiltered, true,
                                                        mode);
                isComplete = !histogram.empty();
                if (isComplete) {
                    EXPECT_EQ(histogram, complete.histogram);
                    EXPECT_EQ(test::PixelsOf<float>(output), complete.output);
                } else {
                    EXPECT_EQ(test::PixelsOf<float>(output), std::vector<float>(16000, 0.0F)) << question;
                }
            }
        }
    }
}

TEST(Granulometry, ReportsAsManyStepsAsAnnounced) {
    std::mt19937 random(11);
    const auto image = Blobs(CSize(40, 40, 40), random, 20, 9.0);
    test::CRecordingProgress progress;
    CImage output(IMAGE_GREY_F, image->Size(), CSize(0, 0, 0));
    Histogram histogram;
    CGranulometry granulometry(nullptr, nullptr);
    granulometry.SetProgress(CProgressProxy(&progress));
    granulometry.DoSphereGranulometryBinned(*image, output, histogram, -1.0, false, true, 2);
    unsigned long total = 0;
    long open = 0;
    for (const std::string& call : progress.calls) {
        if (call.starts_with("Start ")) {
            total += std::stoul(call.substr(6));
            ++open;
        }
        open -= call == "Finish" ? 1 : 0;
    }
    EXPECT_EQ(progress.steps, total);
    EXPECT_EQ(open, 0);
    EXPECT_TRUE(progress.isFromOneThread);
}

TEST(Granulometry, RefusesOtherTypesAndSizesThatDiffer) {
    Histogram histogram;
    const auto refusal = [&](const IImage::CType& input, const CSize& inputSize, const IImage::CType& output,
                             const CSize& outputSize) {
        const CImage image(input, inputSize, CSize(0, 0, 0));
        CImage result(output, outputSize, CSize(0, 0, 0));
        return std::string(test::Raised<CException>([&] {
                               CGranulometry(nullptr, nullptr)
                                   .DoSphereGranulometryBinned(image, result, histogram, -1.0, false, true,
                                                               2);
                           }).Message());
    };
    const CSize size(4, 4);
    EXPECT_EQ(refusal(IMAGE_GREY_8, size, IMAGE_GREY_F, size), "Image type IMAGE_GREY_8 not supported.");
    EXPECT_EQ(refusal(IMAGE_BINARY_FG, size, IMAGE_GREY_32, size), "Image type IMAGE_GREY_32 not supported.");
    EXPECT_EQ(refusal(IMAGE_BINARY_FG, size, IMAGE_GREY_F, CSize(4, 5)),
              "Image sizes differ: (4,4) vs (4,5).");
    const CImage image(IMAGE_BINARY_FG, size, CSize(0, 0, 0));
    CImage result(IMAGE_GREY_F, CSize(5, 4), CSize(0, 0, 0));
    EXPECT_THROW(CGranulometry(nullptr, nullptr)
                     .DoSphereGranulometryBinned(image, result, histogram, -1.0, false, true, 2),
                 CExBadParam);
}

TEST(Granulometry, RefusesDistancesThatAreTooLarge) {
    const auto image = Shape(CSize(40000, 2), [](int x, int, int) { return x > 0; });
    CImage output(IMAGE_GREY_F, image->Size(), CSize(0, 0, 0));
    Histogram histogram;
    const auto raised = test::Raised<CExBadParam>([&] {
        CGranulometry(nullptr, nullptr)
            .DoSphereGranulometryBinned(*image, output, histogram, -1.0, false, true, 1);
    });
    EXPECT_STREQ(raised.Message(), "Squared distances of an image of size (40000,2) are too large.");
}

TEST(Granulometry, BallsBeyondTheLimitTableAreExactToo) {
    // Squared distances up to 1999^2, which is beyond 2^20.
    const auto image = Shape(CSize(2000, 3), [](int x, int, int) { return x > 0; });
    const StResult result = Measure(*image, {.mode = 1});
    // All balls touch the background at one end; the farthest three contain everything.
    EXPECT_EQ(result.histogram, (Histogram{{static_cast<float>(2.0 * 1999.0), 3U * 1999U}}));
    EXPECT_EQ(SumOf(Measure(*image, {.isFiltered = true, .mode = 1}).histogram), 3U);
}

} // namespace
