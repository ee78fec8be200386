#include "support/CRandomSeeds.h"

#include <QuillonNumeric/ConvexHull3d.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <span>
#include <stdexcept>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using namespace ORVEN;
using Points = std::vector<StLatticePoint>;

auto Key(const StLatticePoint& point) { return std::tuple(point.x, point.y, point.z); }

std::vector<StHullFacet> Hull(const Points& points) {
    const auto start = AffinelyIndependentPoints(points);
    if (start.size() != 4)
        throw std::logic_error("the points do not span the space");
    return ConvexHull3d(points, std::span<const std::uint32_t, 4>(start));
}

/// Expects that the facets form a closed surface of consistently oriented triangles and that no point is
/// outside. Together this means that they are the hull. Uses wide arithmetic, so that an overflow in the hull
/// would be detected.
void ExpectHullOf(const Points& points, const std::vector<StHullFacet>& facets) {
    using Wide = __int128;
    std::map<std::pair<std::tuple<std::int64_t, std::int64_t, std::int64_t>,
                       std::tuple<std::int64_t, std::int64_t, std::int64_t>>,
             int>
        edges;
    std::set<std::tuple<std::int64_t, std::int64_t, std::int64_t>> corners;
    std::set<std::tuple<std::int64_t, std::int64_t, std::int64_t>> given;
    for (const StLatticePoint& point : points)
        given.insert(Key(point));
    for (const StHullFacet& facet : facets) {
        const auto& [a, b, c] = facet.corners;
        const StLatticePoint u = b - a;
        const StLatticePoint v = c - a;
        const std::array<Wide, 3> normal{Wide{u.y} * v.z - Wide{u.z} * v.y, Wide{u.z} * v.x - Wide{u.x} * v.z,
                                         Wide{u.x} * v.y - Wide{u.y} * v.x};
        ASSERT_TRUE(normal[0] == facet.normal.x && normal[1] == facet.normal.y &&
                    normal[2] == facet.normal.z);
        ASSERT_TRUE(normal[0] != 0 || normal[1] != 0 || normal[2] != 0);
        const Wide offset = normal[0] * a.x + normal[1] * a.y + normal[2] * a.z;
        ASSERT_TRUE(offset == facet.offset);
        for (const StLatticePoint& point : points)
            ASSERT_TRUE(normal[0] * point.x + normal[1] * point.y + normal[2] * point.z <= offset);
        for (std::size_t side = 0; side < 3; ++side) {
            ASSERT_TRUE(given.contains(Key(facet.corners[side])));
            corners.insert(Key(facet.corners[side]));
            ++edges[{Key(facet.corners[side]), Key(facet.corners[(side + 1) % 3])}];
        }
    }
    for (const auto& [edge, count] : edges) {
        ASSERT_EQ(count, 1);
        ASSERT_TRUE(edges.contains({edge.second, edge.first}));
    }
    ASSERT_EQ(corners.size() + facets.size(), edges.size() / 2 + 2); // Euler characteristic
}

Points RandomPoints(std::mt19937& random, int count, std::int64_t greatest) {
    std::uniform_int_distribution<std::int64_t> coordinate(0, greatest);
    Points points;
    for (int i = 0; i < count; ++i)
        points.push_back({coordinate(random), coordinate(random), coordinate(random)});
    return points;
}

TEST(ConvexHull3d, CountsIndependentPoints) {
    EXPECT_EQ(AffinelyIndependentPoints(Points{}).size(), 0U);
    EXPECT_EQ(AffinelyIndependentPoints(Points{{1, 2, 3}, {1, 2, 3}}).size(), 1U);
    EXPECT_EQ(AffinelyIndependentPoints(Points{{1, 2, 3}, {2, 4, 6}, {3, 6, 9}}).size(), 2U);
    EXPECT_EQ(AffinelyIndependentPoints(Points{{0, 0, 0}, {2, 1, 1}, {1, 2, 3}, {3, 3, 4}}).size(), 3U);
    EXPECT_EQ(
        AffinelyIndependentPoints(Points{{0, 0, 0}, {1, 1, 1}, {2, 2, 2}, {1, 0, 0}, {2, 1, 1}, {0, 0, 1}}),
        (std::vector<std::uint32_t>{0, 1, 3, 5}));
}

TEST(ConvexHull3d, ATetrahedronIsItsOwnHullInAnyOrientation) {
    Points points{{0, 0, 0}, {3, 0, 0}, {0, 3, 0}, {0, 0, 3}};
    for (int round = 0; round < 24; ++round) {
        const auto facets = Hull(points);
        EXPECT_EQ(facets.size(), 4U);
        ExpectHullOf(points, facets);
        std::ranges::next_permutation(points, {}, Key);
    }
}

TEST(ConvexHull3d, ACubeFullOfPointsHasTwelveTriangles) {
    Points points;
    for (std::int64_t i = 0; i < 343; ++i)
        points.push_back({i % 7, i / 7 % 7, i / 49});
    const auto facets = Hull(points);
    EXPECT_GE(facets.size(), 12U); // a point inside a face may be inserted before its corners
    ExpectHullOf(points, facets);
    std::set<std::tuple<std::int64_t, std::int64_t, std::int64_t>> directions;
    for (const StHullFacet& facet : facets) {
        const auto sign = [](std::int64_t number) -> std::int64_t { return (number > 0) - (number < 0); };
        directions.insert({sign(facet.normal.x), sign(facet.normal.y), sign(facet.normal.z)});
    }
    EXPECT_EQ(directions.size(), 6U);
}

TEST(ConvexHull3d, IsTheHullOfRandomPointsSparseAndDense) {
    for (const unsigned seed : test::CRandomSeeds(0, 400)) {
        std::mt19937 random(seed);
        // Few positions for many points: many are equal, many are coplanar.
        Points points = RandomPoints(random, 4 + static_cast<int>(seed % 60), 1 + seed % 13);
        points.insert(points.end(), {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}});
        std::ranges::shuffle(points, random);
        ExpectHullOf(points, Hull(points));
        if (HasFatalFailure())
            return;
    }
}

TEST(ConvexHull3d, HasAllPointsOnASphereAsCorners) {
    Points points;
    for (std::int64_t z = -33; z <= 33; ++z) {
        for (std::int64_t y = -33; y <= 33; ++y) {
            for (std::int64_t x = -33; x <= 33; ++x) {
                if (x * x + y * y + z * z == 1089)
                    points.push_back({x + 33, y + 33, z + 33});
            }
        }
    }
    ASSERT_GT(points.size(), 100U);
    const auto facets = Hull(points);
    ExpectHullOf(points, facets);
    EXPECT_EQ(facets.size(), 2 * points.size() - 4);
}

TEST(ConvexHull3d, IsExactOverTheFullExtentOfLargeImages) {
    for (const unsigned seed : test::CRandomSeeds(0, 20)) {
        std::mt19937 random(seed);
        // 2^19 along each axis corresponds to an image of 2^57 pixels. The points are a slightly sloped plane
        // and points one pixel beside it: in floating point they would be coplanar.
        Points points = RandomPoints(random, 200, (1 << 19) - 1);
        for (std::int64_t i = 0; i < 200; ++i)
            points.push_back({2621 * i, 2617 * i + i % 2, 524287 - 2621 * i - i % 3});
        points.push_back({524287, 524287, 524287});
        points.push_back({0, 524287, 0});
        ExpectHullOf(points, Hull(points));
        if (HasFatalFailure())
            return;
    }
}

TEST(ConvexHull3d, OfThousandsOfPointsIsAClosedSurface) {
    std::mt19937 random(11);
    std::normal_distribution<double> normal(0.0, 1.0);
    Points points;
    for (int i = 0; i < 6000; ++i) {
        const double x = normal(random);
        const double y = normal(random);
        const double z = normal(random);
        const double scale = 2000.0 / std::sqrt(x * x + y * y + z * z);
        points.push_back(
            {std::lround(x * scale) + 2000, std::lround(y * scale) + 2000, std::lround(z * scale) + 2000});
    }
    const auto facets = Hull(points);
    EXPECT_GT(facets.size(), 4000U);
    // The volume is the sum of the tetrahedra between the origin and the facets.
    __int128 sixfold = 0;
    for (const StHullFacet& facet : facets)
        sixfold += Dot(Cross(facet.corners[0], facet.corners[1]), facet.corners[2]);
    EXPECT_NEAR(static_cast<double>(sixfold) / 6.0 / (4.0 / 3.0 * 3.14159265358979 * 8e9), 1.0, 0.01);
}

} // namespace
