#include <QuillonBase/Neighborhoods.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

using namespace ORVEN;

namespace {

using Offset = std::array<std::int64_t, 3>;
using Offsets = std::vector<Offset>;

template <class N>
Offsets OffsetsOf() {
    Offsets offsets;
    for (std::size_t i = 0; i < N::count; ++i)
        offsets.push_back({N::dx[i], N::dy[i], N::dz[i]});
    return offsets;
}

/// Degrees of the link's vertices: for each neighbour the number of neighbours that are adjacent to it too.
template <class N>
std::vector<int> LinkDegrees() {
    const Offsets offsets = OffsetsOf<N>();
    const std::set<Offset> all(offsets.begin(), offsets.end());
    std::vector<int> degrees;
    for (const Offset& a : offsets)
        degrees.push_back(static_cast<int>(std::ranges::count_if(offsets, [&](const Offset& b) {
            return all.contains(Offset{b[0] - a[0], b[1] - a[1], b[2] - a[2]});
        })));
    return degrees;
}

/// Triples of neighbours adjacent to each other.
template <class N>
int LinkTriangles() {
    const Offsets offsets = OffsetsOf<N>();
    const std::set<Offset> all(offsets.begin(), offsets.end());
    const auto adjacent = [&](const Offset& a, const Offset& b) {
        return all.contains(Offset{b[0] - a[0], b[1] - a[1], b[2] - a[2]});
    };
    int triangles = 0;
    for (std::size_t i = 0; i < offsets.size(); ++i) {
        for (std::size_t j = i + 1; j < offsets.size(); ++j) {
            for (std::size_t k = j + 1; k < offsets.size(); ++k)
                triangles += adjacent(offsets[i], offsets[j]) && adjacent(offsets[j], offsets[k]) &&
                             adjacent(offsets[i], offsets[k]);
        }
    }
    return triangles;
}

template <class N>
class AnyNeighborhood : public testing::Test {};

using All = testing::Types<CNeighborhood3dDiffN6, CNeighborhood3dDiffN14_1, CNeighborhood3dDiffN14_2,
                           CNeighborhood3dDiffN26, CNeighborhood2dDiffN4, CNeighborhood2dDiffN6_1,
                           CNeighborhood2dDiffN6_2, CNeighborhood2dDiffN8>;
TYPED_TEST_SUITE(AnyNeighborhood, All);

} // namespace

TYPED_TEST(AnyNeighborhood, HoldsTablesOf64BitIntegersOfItsLength) {
    static_assert(std::is_same_v<decltype(TypeParam::dx), const std::array<std::int64_t, TypeParam::count>>);
    static_assert(std::is_same_v<decltype(TypeParam::dy), const std::array<std::int64_t, TypeParam::count>>);
    static_assert(std::is_same_v<decltype(TypeParam::dz), const std::array<std::int64_t, TypeParam::count>>);
    const Offsets offsets = OffsetsOf<TypeParam>();
    EXPECT_EQ(std::set<Offset>(offsets.begin(), offsets.end()).size(), TypeParam::count) << "entries repeat";
}

TYPED_TEST(AnyNeighborhood, StepsAtMostOnePixelAndNeverStays) {
    for (const Offset& offset : OffsetsOf<TypeParam>()) {
        EXPECT_NE(offset, (Offset{0, 0, 0}));
        for (const std::int64_t step : offset)
            EXPECT_TRUE(step >= -1 && step <= 1);
        EXPECT_TRUE(TypeParam::dimension == 3 || offset[2] == 0);
    }
}

TYPED_TEST(AnyNeighborhood, EntriesFromBothEndsAreOpposite) {
    for (std::size_t i = 0; i < TypeParam::count; ++i) {
        const std::size_t j = TypeParam::count - 1 - i;
        EXPECT_EQ(TypeParam::dx[i], -TypeParam::dx[j]);
        EXPECT_EQ(TypeParam::dy[i], -TypeParam::dy[j]);
        EXPECT_EQ(TypeParam::dz[i], -TypeParam::dz[j]);
    }
}

TYPED_TEST(AnyNeighborhood, IsInRasterOrder) {
    const Offsets offsets = OffsetsOf<TypeParam>();
    EXPECT_TRUE(std::ranges::is_sorted(offsets, [](const Offset& a, const Offset& b) {
        return std::tuple(a[2], a[1], a[0]) < std::tuple(b[2], b[1], b[0]);
    }));
}

TEST(Neighborhoods, HaveTheirIdsDimensionsAndLengths) {
    const auto told = []<class N>(N) {
        return std::string(N::id) + " " + std::to_string(N::dimension) + " " + std::to_string(N::count);
    };
    EXPECT_EQ(told(CNeighborhood3dDiffN6()), "N6 3 6");
    EXPECT_EQ(told(CNeighborhood3dDiffN14_1()), "N14_1 3 14");
    EXPECT_EQ(told(CNeighborhood3dDiffN14_2()), "N14_2 3 14");
    EXPECT_EQ(told(CNeighborhood3dDiffN26()), "N26 3 26");
    EXPECT_EQ(told(CNeighborhood2dDiffN4()), "N4 2 4");
    EXPECT_EQ(told(CNeighborhood2dDiffN6_1()), "N6_1 2 6");
    EXPECT_EQ(told(CNeighborhood2dDiffN6_2()), "N6_2 2 6");
    EXPECT_EQ(told(CNeighborhood2dDiffN8()), "N8 2 8");
}

TEST(Neighborhoods, TablesHoldTheirOffsetsInOrder) {
    EXPECT_EQ(OffsetsOf<CNeighborhood2dDiffN4>(), (Offsets{{0, -1, 0}, {-1, 0, 0}, {1, 0, 0}, {0, 1, 0}}));
    EXPECT_EQ(OffsetsOf<CNeighborhood2dDiffN6_1>(),
              (Offsets{{-1, -1, 0}, {0, -1, 0}, {-1, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}}));
    EXPECT_EQ(OffsetsOf<CNeighborhood2dDiffN6_2>(),
              (Offsets{{0, -1, 0}, {1, -1, 0}, {-1, 0, 0}, {1, 0, 0}, {-1, 1, 0}, {0, 1, 0}}));
    EXPECT_EQ(
        OffsetsOf<CNeighborhood2dDiffN8>(),
        (Offsets{
            {-1, -1, 0}, {0, -1, 0}, {1, -1, 0}, {-1, 0, 0}, {1, 0, 0}, {-1, 1, 0}, {0, 1, 0}, {1, 1, 0}}));
    EXPECT_EQ(OffsetsOf<CNeighborhood3dDiffN6>(),
              (Offsets{{0, 0, -1}, {0, -1, 0}, {-1, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}));
    EXPECT_EQ(OffsetsOf<CNeighborhood3dDiffN14_1>(), (Offsets{{-1, -1, -1},
                                                              {0, -1, -1},
                                                              {-1, 0, -1},
                                                              {0, 0, -1},
                                                              {-1, -1, 0},
                                                              {0, -1, 0},
                                                              {-1, 0, 0},
                                                              {1, 0, 0},
                                                              {0, 1, 0},
                                                              {1, 1, 0},
                                                              {0, 0, 1},
                                                              {1, 0, 1},
                                                              {0, 1, 1},
                                                              {1, 1, 1}}));
    EXPECT_EQ(OffsetsOf<CNeighborhood3dDiffN14_2>(), (Offsets{{0, -1, -1},
                                                              {1, -1, -1},
                                                              {0, 0, -1},
                                                              {1, 0, -1},
                                                              {0, -1, 0},
                                                              {1, -1, 0},
                                                              {-1, 0, 0},
                                                              {1, 0, 0},
                                                              {-1, 1, 0},
                                                              {0, 1, 0},
                                                              {-1, 0, 1},
                                                              {0, 0, 1},
                                                              {-1, 1, 1},
                                                              {0, 1, 1}}));
    const Offsets block = OffsetsOf<CNeighborhood3dDiffN26>();
    EXPECT_EQ(block[0], (Offset{-1, -1, -1}));
    EXPECT_EQ(block[12], (Offset{-1, 0, 0}));
    EXPECT_EQ(block[13], (Offset{1, 0, 0}));
    EXPECT_EQ(block[25], (Offset{1, 1, 1}));
}

TEST(Neighborhoods, SecondTessellationIsTheMirrorImageOfTheFirst) {
    std::set<Offset> mirrored;
    for (const Offset& offset : OffsetsOf<CNeighborhood3dDiffN14_1>())
        mirrored.insert(Offset{-offset[0], offset[1], offset[2]});
    const Offsets second = OffsetsOf<CNeighborhood3dDiffN14_2>();
    EXPECT_EQ(mirrored, (std::set<Offset>(second.begin(), second.end())));
}

TEST(Neighborhoods, PlanarTablesAreTheSpatialOnesInAPlane) {
    const auto inPlane = [](const Offsets& offsets) {
        Offsets planar;
        std::ranges::copy_if(offsets, std::back_inserter(planar),
                             [](const Offset& offset) { return offset[2] == 0; });
        return planar;
    };
    EXPECT_EQ(OffsetsOf<CNeighborhood2dDiffN4>(), inPlane(OffsetsOf<CNeighborhood3dDiffN6>()));
    EXPECT_EQ(OffsetsOf<CNeighborhood2dDiffN6_1>(), inPlane(OffsetsOf<CNeighborhood3dDiffN14_1>()));
    EXPECT_EQ(OffsetsOf<CNeighborhood2dDiffN6_2>(), inPlane(OffsetsOf<CNeighborhood3dDiffN14_2>()));
    EXPECT_EQ(OffsetsOf<CNeighborhood2dDiffN8>(), inPlane(OffsetsOf<CNeighborhood3dDiffN26>()));
}

TEST(Neighborhoods, LinksOfTheTessellationsAreTriangulatedSpheres) {
    // 14 vertices, 36 edges and 24 triangles: Euler number 2.
    EXPECT_EQ(LinkDegrees<CNeighborhood3dDiffN14_1>(),
              (std::vector{6, 4, 4, 6, 4, 6, 6, 6, 6, 4, 6, 4, 4, 6}));
    EXPECT_EQ(LinkDegrees<CNeighborhood3dDiffN14_2>(),
              (std::vector{4, 6, 6, 4, 6, 4, 6, 6, 4, 6, 4, 6, 6, 4}));
    EXPECT_EQ(LinkTriangles<CNeighborhood3dDiffN14_1>(), 24);
    EXPECT_EQ(LinkTriangles<CNeighborhood3dDiffN14_2>(), 24);
}

TEST(Neighborhoods, AreTablesOfTheCompiler) {
    static_assert(CNeighborhood3dDiffN26::dx[0] == -1);
    SUCCEED();
}
