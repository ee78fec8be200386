// Which neighbours a flood sees: those of the table, except those beyond the border of the image.

#include "segmentation/floods/CFloodStates.h"

#include <QuillonBase/Neighborhoods.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

using namespace ORVEN;

namespace {

using Offset = std::array<std::int64_t, 3>;
using Offsets = std::vector<Offset>;

StPixelPosition At(std::int64_t x, std::int64_t y, std::int64_t z) {
    return {static_cast<std::uint16_t>(x), static_cast<std::uint16_t>(y), static_cast<std::uint16_t>(z)};
}

template <class N>
CSize SizeFor(std::int64_t x, std::int64_t y, std::int64_t z) {
    return N::dimension == 3 ? CSize(x, y, z) : CSize(x, y);
}

/// The neighbours that a flood finds around a pixel in an image whose pixels are all open.
template <class N>
Offsets Seen(const CSize& size, const Offset& pixel) {
    using States = CFloodStates<N>;
    States states;
    states.Clear(size);
    const std::int64_t planes = N::dimension == 3 ? size.z : 1;
    for (std::int64_t z = 0; z < planes; ++z) {
        for (std::int64_t y = 0; y < size.y; ++y) {
            for (std::int64_t x = 0; x < size.x; ++x)
                states.SetOpen(At(x, y, z));
        }
    }
    Offsets seen;
    for (auto open = states.Around(At(pixel[0], pixel[1], pixel[2])) & States::openBits; open != 0;
         open &= open - 1) {
        const auto& offset = States::offsets.at(States::FirstSlot(open));
        seen.push_back({offset.dx, offset.dy, offset.dz});
    }
    return seen;
}

/// The entries of the table, in its order, that lead from a pixel to one in the image.
template <class N>
Offsets Inside(const CSize& size, const Offset& pixel) {
    const Offset extents{size.x, size.y, N::dimension == 3 ? size.z : 1};
    Offsets inside;
    for (std::size_t i = 0; i < N::count; ++i) {
        const Offset offset{N::dx[i], N::dy[i], N::dz[i]};
        bool isInside = true;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const std::int64_t at = pixel.at(axis) + offset.at(axis);
            isInside = isInside && at >= 0 && at < extents.at(axis);
        }
        if (isInside)
            inside.push_back(offset);
    }
    return inside;
}

template <class N>
class FloodStatesOf : public testing::Test {};

using All = testing::Types<CNeighborhood3dDiffN6, CNeighborhood3dDiffN14_1, CNeighborhood3dDiffN14_2,
                           CNeighborhood3dDiffN26, CNeighborhood2dDiffN4, CNeighborhood2dDiffN6_1,
                           CNeighborhood2dDiffN6_2, CNeighborhood2dDiffN8>;
TYPED_TEST_SUITE(FloodStatesOf, All);

} // namespace

TYPED_TEST(FloodStatesOf, SeeExactlyTheNeighborsInsideTheImageInTheOrderOfTheTable) {
    for (const auto& [x, y, z] : {Offset{4, 3, 3}, Offset{9, 2, 4}, Offset{1, 1, 1}}) {
        const CSize size = SizeFor<TypeParam>(x, y, z);
        for (Offset at{0, 0, 0}; at[2] < (TypeParam::dimension == 3 ? z : 1); ++at[2]) {
            for (at[1] = 0; at[1] < y; ++at[1]) {
                for (at[0] = 0; at[0] < x; ++at[0])
                    EXPECT_EQ(Seen<TypeParam>(size, at), Inside<TypeParam>(size, at));
            }
        }
    }
}

TYPED_TEST(FloodStatesOf, SkipBothDirectionsOfAnAxisOfSizeOne) {
    for (std::size_t axis = 0; axis < TypeParam::dimension; ++axis) {
        Offset extents{9, 9, 9};
        Offset at{5, 5, 5};
        extents.at(axis) = 1;
        at.at(axis) = 0;
        if (TypeParam::dimension == 2)
            at[2] = 0;
        const Offsets seen = Seen<TypeParam>(SizeFor<TypeParam>(extents[0], extents[1], extents[2]), at);
        EXPECT_FALSE(seen.empty());
        for (const Offset& offset : seen)
            EXPECT_EQ(offset.at(axis), 0);
    }
}

TEST(FloodStates, SeeThreeFacesAndSevenOfTheBlockInTheCornersOfAVolume) {
    const CSize size(5, 6, 7);
    for (const std::int64_t x : {0, 4}) {
        for (const std::int64_t y : {0, 5}) {
            for (const std::int64_t z : {0, 6}) {
                EXPECT_EQ(Seen<CNeighborhood3dDiffN6>(size, {x, y, z}).size(), 3U);
                EXPECT_EQ(Seen<CNeighborhood3dDiffN26>(size, {x, y, z}).size(), 7U);
            }
        }
    }
}

TEST(FloodStates, SeeDifferentNumbersInTheCornersOfTheTessellations) {
    const CSize size(5, 6, 7);
    EXPECT_EQ(Seen<CNeighborhood3dDiffN14_1>(size, {0, 0, 0}).size(), 7U);
    EXPECT_EQ(Seen<CNeighborhood3dDiffN14_1>(size, {4, 5, 6}).size(), 7U);
    EXPECT_EQ(Seen<CNeighborhood3dDiffN14_1>(size, {0, 0, 6}).size(), 4U);
    EXPECT_EQ(Seen<CNeighborhood3dDiffN14_2>(size, {0, 0, 0}).size(), 4U);
    EXPECT_EQ(Seen<CNeighborhood3dDiffN14_2>(size, {4, 0, 0}).size(), 7U);
}
