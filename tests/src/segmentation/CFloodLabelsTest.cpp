// Which neighbours a flood sees: those of the table, except those beyond the border of the image. And what it
// decides from their labels.

#include "segmentation/floods/CFloodLabels.h"

#include "support/CRandomSeeds.h"
#include "support/TraversalTools.h"

#include <QuillonBase/Neighborhoods.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <random>
#include <set>
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

/// Calls `body(pixel)` for all pixels, in raster order.
template <class N, class Body>
void ForEachPixel(const CSize& size, const Body& body) {
    for (std::int64_t z = 0; z < (N::dimension == 3 ? size.z : 1); ++z) {
        for (std::int64_t y = 0; y < size.y; ++y) {
            for (std::int64_t x = 0; x < size.x; ++x)
                body(At(x, y, z));
        }
    }
}

/// The neighbours that a flood finds around a pixel in an image whose pixels are all open.
template <class N>
Offsets Seen(const CSize& size, const Offset& pixel) {
    CFloodLabels<N> labels;
    labels.Clear(size);
    ForEachPixel<N>(size, [&labels](StPixelPosition at) { labels.SetOpen(labels.At(at)); });
    Offsets seen;
    const auto centre = labels.At(At(pixel[0], pixel[1], pixel[2]));
    labels.ForEachOpenNeighbor(centre, [&seen](std::size_t index) {
        seen.push_back({N::dx[index], N::dy[index], N::dz[index]});
    });
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
class FloodLabelsOf : public testing::Test {};

using All = testing::Types<CNeighborhood3dDiffN6, CNeighborhood3dDiffN14_1, CNeighborhood3dDiffN14_2,
                           CNeighborhood3dDiffN26, CNeighborhood2dDiffN4, CNeighborhood2dDiffN6_1,
                           CNeighborhood2dDiffN6_2, CNeighborhood2dDiffN8>;
TYPED_TEST_SUITE(FloodLabelsOf, All);

/// Four million pixels, with 20 MiB of labels.
const CSize c_manyPixels(256, 256, 64);

TEST(FloodLabels, AskForCancellationWhileTheyMakeRoomAndStayAsTheyAre) {
    CFloodLabels<CNeighborhood3dDiffN6> labels;
    labels.Clear(c_manyPixels);
    test::RecordingProgress progress;
    CWorkPace pace(progress);
    EXPECT_TRUE(labels.MakeRoom(pace));
    EXPECT_GE(progress.questions, 10); // after 2 MiB at the latest
    bool areUntouched = true;
    ForEachPixel<CNeighborhood3dDiffN6>(c_manyPixels, [&](StPixelPosition at) {
        areUntouched = areUntouched && labels.Label(labels.At(at)) == LabelInit &&
                       !labels.HasFinalNeighbor(labels.At(at));
    });
    EXPECT_TRUE(areUntouched);
}

TEST(FloodLabels, MakeNoMoreRoomOnceCancelled) {
    CFloodLabels<CNeighborhood3dDiffN26> labels;
    labels.Clear(c_manyPixels);
    test::RecordingProgress progress;
    progress.cancelAt = 2;
    CWorkPace pace(progress);
    EXPECT_FALSE(labels.MakeRoom(pace));
    EXPECT_EQ(progress.questions, 3);
}

TEST(FloodLabels, MakeRoomForImagesOfAnySize) {
    for (const CSize& size :
         {CSize(0, 0, 0), CSize(1, 0, 7), CSize(1, 1, 1), CSize(5000, 1, 1), CSize(1, 1, 5000)}) {
        CFloodLabels<CNeighborhood3dDiffN26> labels;
        labels.Clear(size);
        test::RecordingProgress progress;
        CWorkPace pace(progress);
        EXPECT_TRUE(labels.MakeRoom(pace)) << size.ToString();
    }
}

} // namespace

TYPED_TEST(FloodLabelsOf, SeeExactlyTheNeighborsInsideTheImageInTheOrderOfTheTable) {
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

TYPED_TEST(FloodLabelsOf, SkipBothDirectionsOfAnAxisOfSizeOne) {
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

TEST(FloodLabels, SeeThreeFacesAndSevenOfTheBlockInTheCornersOfAVolume) {
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

TEST(FloodLabels, SeeDifferentNumbersInTheCornersOfTheTessellations) {
    const CSize size(5, 6, 7);
    EXPECT_EQ(Seen<CNeighborhood3dDiffN14_1>(size, {0, 0, 0}).size(), 7U);
    EXPECT_EQ(Seen<CNeighborhood3dDiffN14_1>(size, {4, 5, 6}).size(), 7U);
    EXPECT_EQ(Seen<CNeighborhood3dDiffN14_1>(size, {0, 0, 6}).size(), 4U);
    EXPECT_EQ(Seen<CNeighborhood3dDiffN14_2>(size, {0, 0, 0}).size(), 4U);
    EXPECT_EQ(Seen<CNeighborhood3dDiffN14_2>(size, {4, 0, 0}).size(), 7U);
}

TYPED_TEST(FloodLabelsOf, DecideFromTheFinalNeighborsOnly) {
    // Regions of the lowest and highest numbers, lines and all sentinels.
    constexpr std::array<std::uint32_t, 9> choices{
        0, 1, 2, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFC, LabelInQueue, LabelMask, LabelInit};
    for (const unsigned seed : test::CRandomSeeds(0, 300)) {
        std::mt19937 random(seed);
        const auto extent = [&random] { return std::uniform_int_distribution<std::int64_t>(1, 6)(random); };
        const CSize size = SizeFor<TypeParam>(extent(), extent(), extent());
        // Few different labels, so that neighbours often agree.
        const std::array<std::uint32_t, 3> few{choices[random() % 9], choices[random() % 9],
                                               choices[random() % 9]};
        CFloodLabels<TypeParam> labels;
        labels.Clear(size);
        ForEachPixel<TypeParam>(size, [&](StPixelPosition at) {
            const std::uint32_t label = few[random() % 3];
            labels.SetLabel(labels.At(at), label);
            ASSERT_EQ(labels.Label(labels.At(at)), label);
        });
        ForEachPixel<TypeParam>(size, [&](StPixelPosition at) {
            const auto place = labels.At(at);
            labels.SetLabel(place, LabelInQueue);
            bool hasFinal = false;
            bool hasOpen = false;
            std::set<std::uint32_t> regions;
            for (const Offset& offset : Inside<TypeParam>(size, {at.x, at.y, at.z})) {
                const std::uint32_t label =
                    labels.Label(labels.At(At(at.x + offset[0], at.y + offset[1], at.z + offset[2])));
                hasFinal = hasFinal || IsFinalLabel(label);
                hasOpen = hasOpen || label == LabelMask;
                if (IsPositiveLabel(label))
                    regions.insert(label);
            }
            EXPECT_EQ(labels.HasFinalNeighbor(place), hasFinal);
            if (!hasFinal)
                return; // such a pixel is never decided
            EXPECT_EQ(labels.Decide(place), hasOpen);
            EXPECT_EQ(labels.Label(place), regions.size() == 1 ? *regions.begin() : LabelWatershed);
        });
    }
}
