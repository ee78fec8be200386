#include "support/CRandomSeeds.h"
#include "support/Raised.h"
#include "support/TestImage.h"

#include <QuillonNumeric/CConvexHullComputer.h>
#include <sorblib2core/CException.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;
using test::ImageOf;
using test::PixelsOf;
using Bytes = std::vector<unsigned char>;
using Points = std::vector<StLatticePoint>;
using CBox = CConvexHullComputer::CBox;

CBox WholeBox(const CSize& size) {
    return {0,
            0,
            0,
            static_cast<std::int32_t>(size.x),
            static_cast<std::int32_t>(size.y),
            size.Dim() == 2 ? 1 : static_cast<std::int32_t>(size.z)};
}

std::unique_ptr<CImage> NewImage(const IImage::CType& type, const CSize& size) {
    return std::make_unique<CImage>(type, size, CSize(0, 0, 0));
}

void Load(CConvexHullComputer& hull, const CImage& image, std::size_t label, const CBox& box) {
    hull.loadPointsFromImageBox(image, label, box.startX, box.startY, box.startZ, box.endX, box.endY,
                                box.endZ);
}

/// Paints the hull of a label into a new image of the same type and size.
std::unique_ptr<CImage> Painted(const CImage& image, std::size_t label) {
    CConvexHullComputer hull(static_cast<std::size_t>(image.Size().Dim()), nullptr, nullptr);
    Load(hull, image, label, WholeBox(image.Size()));
    hull.compute();
    auto painted = NewImage(image.Type(), image.Size());
    hull.paintConvexHullToImage(*painted, WholeBox(image.Size()), label);
    return painted;
}

Bytes HullOf(const CSize& size, const Bytes& pixels) {
    return PixelsOf<unsigned char>(*Painted(*ImageOf(IMAGE_GREY_8, size, pixels), 1));
}

/// An image in which the points have value 1.
Bytes PixelsAt(const CSize& size, const Points& points) {
    Bytes pixels(static_cast<std::size_t>(size.PixelCount()), 0);
    for (const StLatticePoint& point : points)
        pixels[static_cast<std::size_t>((point.z * size.y + point.y) * size.x + point.x)] = 1;
    return pixels;
}

Points PointsIn(const CSize& size, const Bytes& pixels) {
    Points points;
    for (std::int64_t i = 0; i < static_cast<std::int64_t>(pixels.size()); ++i) {
        if (pixels[static_cast<std::size_t>(i)] != 0)
            points.push_back({i % size.x, i / size.x % size.y, i / size.x / size.y});
    }
    return points;
}

std::int64_t CountOf(const Bytes& pixels) { return std::count(pixels.begin(), pixels.end(), 1); }

std::string MessageOf(const CImage& image) {
    const auto raised = test::Raised<CException>([&] { Painted(image, 1); });
    return std::string(raised.Source()) + ": " + raised.Message();
}

/// The half-space Dot(normal, p) <= offset.
struct StHalfSpace {
    StLatticePoint normal;
    std::int64_t offset;
};

/// All half-spaces that contain the points and are bounded by the plane through three of them (in 2-d, by the
/// line through two).
std::vector<StHalfSpace> SupportingHalfSpaces(const Points& points, int dimension) {
    std::vector<StHalfSpace> halfSpaces;
    const auto addIfSupporting = [&](const StLatticePoint& normal, const StLatticePoint& onPlane) {
        const std::int64_t offset = Dot(normal, onPlane);
        if (normal != StLatticePoint{} && std::ranges::all_of(points, [&](const StLatticePoint& point) {
                return Dot(normal, point) <= offset;
            }))
            halfSpaces.push_back({normal, offset});
    };
    for (const StLatticePoint& a : points) {
        for (const StLatticePoint& b : points) {
            if (dimension == 2) {
                addIfSupporting({b.y - a.y, a.x - b.x, 0}, a);
                continue;
            }
            for (const StLatticePoint& c : points)
                addIfSupporting(Cross(b - a, c - a), a);
        }
    }
    return halfSpaces;
}

Bytes PixelsInside(const CSize& size, const std::vector<StHalfSpace>& halfSpaces) {
    Bytes pixels(static_cast<std::size_t>(size.PixelCount()));
    for (std::int64_t i = 0; i < static_cast<std::int64_t>(pixels.size()); ++i) {
        const StLatticePoint pixel{i % size.x, i / size.x % size.y, i / size.x / size.y};
        pixels[static_cast<std::size_t>(i)] =
            std::ranges::all_of(halfSpaces, [&](const StHalfSpace& halfSpace) {
                return Dot(halfSpace.normal, pixel) <= halfSpace.offset;
            });
    }
    return pixels;
}

// --- by hand

TEST(ConvexHullComputer, PaintsATriangleIncludingItsBoundary) {
    // clang-format off
    EXPECT_EQ(HullOf(CSize(5, 4), {1, 0, 0, 0, 1,
                                   0, 0, 0, 0, 0,
                                   0, 0, 0, 0, 0,
                                   1, 0, 0, 0, 0}),
              (Bytes{1, 1, 1, 1, 1,
                     1, 1, 1, 0, 0,
                     1, 1, 0, 0, 0,
                     1, 0, 0, 0, 0}));
    // clang-format on
}

TEST(ConvexHullComputer, PaintsATetrahedronAndAnOctahedron) {
    EXPECT_EQ(CountOf(HullOf(CSize(4, 4, 4),
                             PixelsAt(CSize(4, 4, 4), {{0, 0, 0}, {3, 0, 0}, {0, 3, 0}, {0, 0, 3}}))),
              20);
    const CSize size(5, 5, 5);
    const Bytes octahedron =
        HullOf(size, PixelsAt(size, {{0, 2, 2}, {4, 2, 2}, {2, 0, 2}, {2, 4, 2}, {2, 2, 0}, {2, 2, 4}}));
    EXPECT_EQ(CountOf(octahedron), 25);
    for (const StLatticePoint& point : PointsIn(size, octahedron))
        EXPECT_LE(std::abs(point.x - 2) + std::abs(point.y - 2) + std::abs(point.z - 2), 2);
}

TEST(ConvexHullComputer, FillsTheBoxBetweenTheTwoTetrahedraInItsCorners) {
    for (const std::int64_t n : {2, 3, 7, 20}) {
        const CSize size(n, n, n);
        const std::int64_t m = n - 1;
        const Bytes pixels = PixelsAt(
            size, {{0, 0, 0}, {m, m, 0}, {m, 0, m}, {0, m, m}, {m, 0, 0}, {0, m, 0}, {0, 0, m}, {m, m, m}});
        EXPECT_EQ(CountOf(HullOf(size, pixels)), n * n * n);
    }
}

TEST(ConvexHullComputer, LeavesABoxAndABallUnchanged) {
    const CSize size(13, 12, 14);
    Bytes box(static_cast<std::size_t>(size.PixelCount()), 0);
    Bytes ball = box;
    for (std::int64_t i = 0; i < size.PixelCount(); ++i) {
        const std::int64_t x = i % 13;
        const std::int64_t y = i / 13 % 12;
        const std::int64_t z = i / 156;
        box[static_cast<std::size_t>(i)] = x > 0 && y > 2 && y < 9 && z > 3 && z < 13;
        ball[static_cast<std::size_t>(i)] = (x - 6) * (x - 6) + (y - 5) * (y - 5) + (z - 7) * (z - 7) <= 25;
    }
    EXPECT_EQ(HullOf(size, box), box);
    EXPECT_EQ(HullOf(size, ball), ball);
}

// --- oracles

TEST(ConvexHullComputer, EqualsTheSupportingHalfSpacesOfSmallSets) {
    int computed = 0;
    for (const unsigned seed : test::CRandomSeeds(0, 600)) {
        std::mt19937 random(seed);
        std::uniform_int_distribution<std::int64_t> extent(1, seed % 5 == 0 ? 60 : 9);
        const bool isFlat = seed % 3 == 0;
        const CSize size = isFlat ? CSize(extent(random), extent(random))
                                  : CSize(extent(random), extent(random), extent(random));
        Points points;
        for (unsigned i = 0; i < 3 + seed % 11; ++i) {
            const auto below = [&](std::int64_t limit) {
                return static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(limit));
            };
            points.push_back({below(size.x), below(size.y), isFlat ? 0 : below(size.z)});
        }
        const Bytes pixels = PixelsAt(size, points);
        if (AffinelyIndependentPoints(points).size() <= static_cast<std::size_t>(size.Dim())) {
            EXPECT_THROW(HullOf(size, pixels), CException);
            continue;
        }
        ++computed;
        ASSERT_EQ(HullOf(size, pixels), PixelsInside(size, SupportingHalfSpaces(points, size.Dim())));
    }
    EXPECT_GT(computed, 400);
}

/// An irregular object of one or several components: pixels near a few random centres, with noise.
Bytes RandomObject(const CSize& size, std::mt19937& random) {
    std::uniform_real_distribution<double> share(0.0, 1.0);
    const bool isFlat = size.Dim() == 2;
    const double centre[3] = {share(random) * static_cast<double>(size.x),
                              share(random) * static_cast<double>(size.y),
                              isFlat ? 0.0 : share(random) * static_cast<double>(size.z)};
    const double radius = 3.0 + share(random) * 8.0;
    Bytes pixels(static_cast<std::size_t>(size.PixelCount()), 0);
    for (std::int64_t i = 0; i < size.PixelCount(); ++i) {
        const double dx = static_cast<double>(i % size.x) - centre[0];
        const double dy = static_cast<double>(i / size.x % size.y) - centre[1];
        const double dz = static_cast<double>(i / size.x / size.y) - centre[2];
        pixels[static_cast<std::size_t>(i)] =
            dx * dx + dy * dy + 2.0 * dz * dz < radius * radius * share(random);
    }
    for (std::size_t i = 0; i < 4; ++i)
        pixels[random() % pixels.size()] = 1; // and some outliers
    return pixels;
}

TEST(ConvexHullComputer, EqualsTheHalfSpacesOfItsFacetsForWholeObjects) {
    for (const unsigned seed : test::CRandomSeeds(0, 40)) {
        std::mt19937 random(seed);
        const CSize size(20 + seed % 17, 33 - seed % 13, 18 + seed % 23);
        const Bytes pixels = RandomObject(size, random);
        // The facets are compared with brute force in their own test.
        const Points points = PointsIn(size, pixels);
        const auto start = AffinelyIndependentPoints(points);
        ASSERT_EQ(start.size(), 4U);
        std::vector<StHalfSpace> halfSpaces;
        for (const StHullFacet& facet : ConvexHull3d(points, std::span<const std::uint32_t, 4>(start)))
            halfSpaces.push_back({facet.normal, facet.offset});
        const Bytes hull = HullOf(size, pixels);
        ASSERT_EQ(hull, PixelsInside(size, halfSpaces));
        for (std::size_t i = 0; i < pixels.size(); ++i)
            ASSERT_GE(hull[i], pixels[i]);
        ASSERT_EQ(HullOf(size, hull), hull); // idempotent
    }
}

/// The image with its axes permuted and reflected: axis i of the result is axis `from[i]` of the image,
/// reversed if bit i of `turns` is set.
Bytes Moved(const Bytes& pixels, std::int64_t n, const std::array<std::size_t, 3>& from, unsigned turns) {
    Bytes moved(pixels.size());
    for (std::int64_t i = 0; i < static_cast<std::int64_t>(pixels.size()); ++i) {
        const std::array<std::int64_t, 3> place{i % n, i / n % n, i / n / n};
        std::array<std::int64_t, 3> to{};
        for (std::size_t axis = 0; axis < 3; ++axis)
            to[axis] = (turns >> axis & 1U) != 0 ? n - 1 - place[from[axis]] : place[from[axis]];
        moved[static_cast<std::size_t>((to[2] * n + to[1]) * n + to[0])] =
            pixels[static_cast<std::size_t>(i)];
    }
    return moved;
}

TEST(ConvexHullComputer, CommutesWithAll48Symmetries) {
    const std::int64_t n = 15;
    const CSize size(n, n, n);
    for (const unsigned seed : test::CRandomSeeds(0, 4)) {
        std::mt19937 random(seed);
        const Bytes pixels = RandomObject(size, random);
        const Bytes hull = HullOf(size, pixels);
        std::array<std::size_t, 3> from{0, 1, 2};
        do {
            for (unsigned turns = 0; turns < 8; ++turns)
                ASSERT_EQ(HullOf(size, Moved(pixels, n, from, turns)), Moved(hull, n, from, turns));
        } while (std::next_permutation(from.begin(), from.end()));
    }
}

TEST(ConvexHullComputer, CommutesWithTranslations) {
    std::mt19937 random(5);
    const CSize size(12, 11, 10);
    const CSize larger(70, 40, 30);
    const Bytes pixels = RandomObject(size, random);
    const Points hull = PointsIn(size, HullOf(size, pixels));
    for (const StLatticePoint& way : Points{{0, 0, 0}, {58, 29, 20}, {31, 3, 17}}) {
        const auto shifted = [&](Points points) {
            for (StLatticePoint& point : points)
                point = point + way;
            return PixelsAt(larger, points);
        };
        EXPECT_EQ(HullOf(larger, shifted(PointsIn(size, pixels))), shifted(hull));
    }
}

TEST(ConvexHullComputer, IsExactInLongImages) {
    for (const unsigned seed : test::CRandomSeeds(0, 6)) {
        std::mt19937 random(seed);
        const CSize size = seed % 2 == 0 ? CSize(600001, 4, 3) : CSize(600001, 9);
        Points points;
        for (int i = 0; i < 9; ++i) {
            points.push_back({static_cast<std::int64_t>(random() % 600001U),
                              static_cast<std::int64_t>(random()) % size.y,
                              size.Dim() == 2 ? 0 : static_cast<std::int64_t>(random()) % size.z});
        }
        const Bytes hull = HullOf(size, PixelsAt(size, points));
        const auto halfSpaces = SupportingHalfSpaces(points, size.Dim());
        const std::int64_t rowCount = size.Dim() == 2 ? 9 : 12;
        std::int64_t filled = 0;
        for (std::int64_t row = 0; row < rowCount; ++row) {
            // In a row, each half-space allows all x up to or from a certain position.
            std::int64_t first = 0;
            std::int64_t last = size.x - 1;
            for (const StHalfSpace& halfSpace : halfSpaces) {
                const auto isInside = [&](std::int64_t x) {
                    return Dot(halfSpace.normal, {x, row % size.y, row / size.y}) <= halfSpace.offset;
                };
                while (first <= last && !isInside(first) && halfSpace.normal.x >= 0)
                    last = first - 1;
                while (first <= last && !isInside(last) && halfSpace.normal.x <= 0)
                    last = first - 1;
                std::int64_t low = first;
                std::int64_t high = last;
                while (low < high) { // bisect for the position where the result changes
                    const std::int64_t middle = low + (high - low) / 2;
                    if (isInside(middle) == isInside(first))
                        low = middle + 1;
                    else
                        high = middle;
                }
                if (first > last || isInside(first) == isInside(last))
                    continue;
                if (isInside(first))
                    last = low - 1;
                else
                    first = low;
            }
            const auto begin = hull.begin() + row * size.x;
            ASSERT_EQ(std::count(begin, begin + size.x, 1), last - first + 1);
            ASSERT_EQ(std::count(begin + first, begin + last + 1, 1), last - first + 1);
            filled += last - first + 1;
        }
        EXPECT_GT(filled, 100000);
    }
}

// --- sets without a hull

TEST(ConvexHullComputer, ReportsHowManyIndependentPointsALineAPlaneAndNothingHave) {
    const CSize square(5, 5);
    EXPECT_EQ(MessageOf(*ImageOf(IMAGE_GREY_8, square, Bytes{1, 1, 1, 1, 1})),
              "CConvexHullComputer: Convex hull needs 3 affinely independent points, found 2.");
    EXPECT_EQ(MessageOf(*ImageOf(IMAGE_GREY_8, square, PixelsAt(square, {{0, 0, 0}, {2, 2, 0}, {4, 4, 0}}))),
              "CConvexHullComputer: Convex hull needs 3 affinely independent points, found 2.");
    EXPECT_EQ(MessageOf(*ImageOf(IMAGE_GREY_8, square, Bytes{0, 1})),
              "CConvexHullComputer: Convex hull needs 3 affinely independent points, found 1.");
    EXPECT_EQ(MessageOf(*NewImage(IMAGE_GREY_8, square)),
              "CConvexHullComputer: Convex hull needs 3 affinely independent points, found 0.");
    const CSize cube(4, 4, 4);
    EXPECT_EQ(MessageOf(*ImageOf(IMAGE_GREY_8, cube, PixelsAt(cube, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}))),
              "CConvexHullComputer: Convex hull needs 4 affinely independent points, found 3.");
    EXPECT_EQ(
        MessageOf(*ImageOf(IMAGE_GREY_8, cube, PixelsAt(cube, {{0, 1, 3}, {1, 3, 0}, {3, 0, 1}, {2, 2, 0}}))),
        "CConvexHullComputer: Convex hull needs 4 affinely independent points, found 3.");
    EXPECT_EQ(MessageOf(*ImageOf(IMAGE_GREY_8, cube, PixelsAt(cube, {{0, 1, 3}, {1, 2, 2}, {2, 3, 1}}))),
              "CConvexHullComputer: Convex hull needs 4 affinely independent points, found 2.");
    EXPECT_EQ(MessageOf(*ImageOf(IMAGE_GREY_8, cube, Bytes{1})),
              "CConvexHullComputer: Convex hull needs 4 affinely independent points, found 1.");
    EXPECT_EQ(MessageOf(*NewImage(IMAGE_GREY_8, cube)),
              "CConvexHullComputer: Convex hull needs 4 affinely independent points, found 0.");
}

// --- calls

TEST(ConvexHullComputer, WorksOnEachLabelType) {
    const CSize size(4, 4);
    const Points triangle{{0, 0, 0}, {3, 0, 0}, {0, 3, 0}};
    const auto check = [&]<class T>(const IImage::CType& type, std::size_t label, T value) {
        const auto image = NewImage(type, size);
        for (const StLatticePoint& point : triangle)
            CImageView<T>(*image).Row(point.y, 0)[point.x] = value;
        const auto painted = PixelsOf<T>(*Painted(*image, label));
        EXPECT_EQ(std::count(painted.begin(), painted.end(), static_cast<T>(label)), 10) << type.ToString();
    };
    check.operator()<unsigned char>(IMAGE_GREY_8, 255, 255);
    check.operator()<unsigned short>(IMAGE_GREY_16, 65535, 65535);
    check.operator()<unsigned int>(IMAGE_GREY_32, 4294967295U, 4294967295U);
    check.operator()<unsigned char>(IMAGE_BINARY_FG, 1, 1);
    check.operator()<unsigned char>(IMAGE_BINARY_FG, 1, 255); // every pixel that is not 0 is object
}

TEST(ConvexHullComputer, ALabelOutOfRangeHasNoPointsAndIsPaintedTruncated) {
    const CSize size(4, 4);
    const auto image = ImageOf(IMAGE_GREY_8, size, Bytes(16, 1));
    CConvexHullComputer hull(2, nullptr, nullptr);
    Load(hull, *image, 257, WholeBox(size));
    EXPECT_THROW(hull.compute(), CException);
    Load(hull, *image, 1, WholeBox(size));
    hull.compute();
    hull.paintConvexHullToImage(*image, WholeBox(size), 259);
    EXPECT_EQ(PixelsOf<unsigned char>(*image), Bytes(16, 3));
}

TEST(ConvexHullComputer, BoxesExcludeTheirEndAndAreClippedToTheImage) {
    const CSize size(6, 6, 6);
    const auto image = ImageOf(IMAGE_GREY_8, size, Bytes(216, 7));
    const auto painted = [&](const CBox& load, const CBox& paint) {
        CConvexHullComputer hull(3, nullptr, nullptr);
        Load(hull, *image, 7, load);
        hull.compute();
        const auto target = NewImage(IMAGE_GREY_8, size);
        hull.paintConvexHullToImage(*target, paint, 1);
        return PointsIn(size, PixelsOf<unsigned char>(*target));
    };
    const CBox all{-5, -5, -5, 50, 50, 50};
    EXPECT_EQ(painted(all, all).size(), 216U);
    const Points part = painted({1, 2, 3, 4, 6, 50}, all);
    EXPECT_EQ(part.size(), 3U * 4U * 3U);
    EXPECT_EQ(part.front(), (StLatticePoint{1, 2, 3}));
    EXPECT_EQ(part.back(), (StLatticePoint{3, 5, 5}));
    const Points window = painted(all, {2, -3, 4, 5, 2, 5});
    EXPECT_EQ(window.size(), 3U * 2U * 1U);
    EXPECT_EQ(window.front(), (StLatticePoint{2, 0, 4}));
    EXPECT_EQ(painted(all, {3, 3, 3, 3, 6, 6}).size(), 0U);
    EXPECT_EQ(painted(all, {5, 0, 0, 1, 6, 6}).size(), 0U);
    EXPECT_EQ(painted(all, {7, 7, 7, 9, 9, 9}).size(), 0U);
    CConvexHullComputer hull(3, nullptr, nullptr);
    Load(hull, *image, 7, {4, 4, 4, 2, 2, 2});
    EXPECT_EQ(std::string(test::Raised<CException>([&] { hull.compute(); }).Message()),
              "Convex hull needs 4 affinely independent points, found 0.");
}

TEST(ConvexHullComputer, TwoDimensionsIgnoreZ) {
    const auto image = ImageOf(IMAGE_GREY_8, CSize(3, 3), Bytes(9, 1));
    CConvexHullComputer hull(2, nullptr, nullptr);
    hull.loadPointsFromImageBox(*image, 1, 0, 0, 8, 3, 3, 2);
    hull.compute();
    hull.paintConvexHullToImage(*image, {0, 0, 5, 3, 2, 5}, 4);
    EXPECT_EQ(PixelsOf<unsigned char>(*image), (Bytes{4, 4, 4, 4, 4, 4, 1, 1, 1}));
}

TEST(ConvexHullComputer, CanComputeTwiceLoadAgainAndPaintIntoAnotherImage) {
    const CSize size(9, 9);
    const auto image = ImageOf(IMAGE_GREY_8, size, PixelsAt(size, {{4, 4, 0}, {7, 4, 0}, {4, 7, 0}}));
    CConvexHullComputer hull(2, nullptr, nullptr);
    Load(hull, *image, 1, WholeBox(size));
    hull.compute();
    hull.compute();
    const auto smaller = NewImage(IMAGE_GREY_32, CSize(6, 6));
    hull.paintConvexHullToImage(*smaller, {0, 0, 0, 100, 100, 1}, 100000);
    const auto pixels = PixelsOf<unsigned int>(*smaller);
    EXPECT_EQ(std::count(pixels.begin(), pixels.end(), 100000U), 4);
    EXPECT_EQ(pixels[5 * 6 + 5], 100000U);
    // New points replace the old points and their hull.
    Load(hull, *image, 1, {0, 0, 0, 5, 9, 1});
    EXPECT_THROW(hull.paintConvexHullToImage(*smaller, {0, 0, 0, 6, 6, 1}, 1), CException);
    EXPECT_THROW(hull.compute(), CException);
    EXPECT_EQ(PixelsOf<unsigned int>(*smaller), pixels);
}

TEST(ConvexHullComputer, RefusesInvalidInput) {
    const auto message = [](const auto& call) {
        const auto raised = test::Raised<CException>(call);
        return std::string(raised.Source()) + ": " + raised.Message();
    };
    EXPECT_EQ(message([] { CConvexHullComputer(1, nullptr, nullptr); }),
              "CConvexHullComputer: A convex hull has 2 or 3 dimensions, not 1.");
    CConvexHullComputer hull(3, nullptr, nullptr);
    const auto square = NewImage(IMAGE_GREY_8, CSize(3, 3));
    const auto floats = NewImage(IMAGE_GREY_F, CSize(3, 3, 3));
    EXPECT_EQ(message([&] { Load(hull, *square, 1, WholeBox(square->Size())); }),
              "CConvexHullComputer: The convex hull has 3 dimensions and the image 2.");
    EXPECT_EQ(message([&] { Load(hull, *floats, 1, WholeBox(floats->Size())); }),
              "CConvexHullComputer: Image type IMAGE_GREY_F not supported.");
    const auto cube = ImageOf(IMAGE_GREY_8, CSize(3, 3, 3), Bytes(27, 1));
    Load(hull, *cube, 1, WholeBox(cube->Size()));
    EXPECT_EQ(message([&] { hull.paintConvexHullToImage(*cube, WholeBox(cube->Size()), 1); }),
              "CConvexHullComputer: There is no convex hull to paint: it has not been computed.");
    hull.compute();
    EXPECT_EQ(message([&] { hull.paintConvexHullToImage(*square, WholeBox(square->Size()), 1); }),
              "CConvexHullComputer: The convex hull has 3 dimensions and the image 2.");
    EXPECT_EQ(message([&] { hull.paintConvexHullToImage(*floats, WholeBox(floats->Size()), 1); }),
              "CConvexHullComputer: Image type IMAGE_GREY_F not supported.");
}

TEST(ConvexHullComputer, FindsTheEndsOfRowsOfEveryLength) {
    // Rows are searched in blocks of pixels from both ends.
    for (std::int64_t length = 1; length <= 131; ++length) {
        SCOPED_TRACE(length);
        for (std::int64_t first = 0; first < length; first += 1 + length / 9) {
            const CSize size(length, 3);
            const auto image = ImageOf(IMAGE_GREY_16, size,
                                       std::vector<unsigned short>(static_cast<std::size_t>(3 * length), 9));
            const CImageView<unsigned short> view(*image);
            const std::int64_t last = length - 1 - first / 2;
            view.Row(0, 0)[first] = 5;
            view.Row(1, 0)[std::min(first, last)] = 5;
            view.Row(1, 0)[std::max(first, last)] = 5;
            CConvexHullComputer hull(2, nullptr, nullptr);
            Load(hull, *image, 5, WholeBox(size));
            if (first == last) {
                EXPECT_THROW(hull.compute(), CException);
                continue;
            }
            hull.compute();
            hull.paintConvexHullToImage(*image, WholeBox(size), 5);
            ASSERT_EQ(std::count(view.Row(0, 0), view.Row(0, 0) + length, 5), 1);
            ASSERT_EQ(std::count(view.Row(1, 0), view.Row(1, 0) + length, 5), std::abs(last - first) + 1);
            ASSERT_EQ(std::count(view.Row(2, 0), view.Row(2, 0) + length, 5), 0);
        }
    }
}

} // namespace
