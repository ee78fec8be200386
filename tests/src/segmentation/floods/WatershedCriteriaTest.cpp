#include "segmentation/floods/WatershedCriteria.h"

#include "segmentation/WatershedImpl.h"
#include "src/segmentation/floods/WatershedTools.h"
#include "support/CRandomSeeds.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace ORVEN;
using test::CapturedOutput;
using test::Flood;
using test::FloodedN4;
using test::floods;
using test::ImageOf;
using test::Rows;
using test::StFlooded;
using test::StFloodedPicture;

namespace {

StFloodedPicture WithArea(const Rows& image, std::uint32_t minimum) {
    return FloodedN4(image, {}, WATERSHED_NO_OF_VOXEL, minimum);
}

StFloodedPicture WithHeight(const Rows& image, std::uint32_t minimum) {
    return FloodedN4(image, {}, WATERSHED_MIN_GREY_VALUE, minimum);
}

StFloodedPicture WithDepth(const Rows& image, std::uint32_t minimum) {
    return FloodedN4(image, {}, WATERSHED_MIN_DEPTH, minimum);
}

StFloodedPicture WithVolume(const Rows& image, std::uint32_t minimum) {
    return FloodedN4(image, {}, WATERSHED_MIN_VOLUME, minimum);
}

/// The record of a criterion after a run over a picture.
template <class Criterion>
typename Criterion::StParameters RecordAfter(const Rows& picture, typename Criterion::StParameters record) {
    const CapturedOutput silence;
    const auto image = ImageOf(picture);
    CImage labels(IMAGE_GREY_32, image->Size(), CSize(0, 0, 0));
    test::RecordingProgress progress;
    CWatershedTemplate<CNeighborhood2dDiffN4>().DoWatershed<unsigned char, Criterion>(labels, *image, nullptr,
                                                                                      &record, progress);
    return record;
}

TEST(WatershedNoCriterion, NoPixelEverWaitsInTheEnd) {
    for (const unsigned seed : test::CRandomSeeds(0, 50)) {
        std::mt19937 random(seed);
        for (const auto& flood : floods) {
            const CSize size = flood.dimension == 3 ? CSize(5, 4, 3) : CSize(8, 7);
            const auto image = test::RandomImage<unsigned char>(IMAGE_GREY_8, size, random, 0, 5);
            const StFlooded flooded = Flood(flood, *image);
            EXPECT_TRUE(std::ranges::all_of(flooded.labels, IsFinalLabel));
            EXPECT_EQ(std::ranges::max(flooded.labels), flooded.regionCount);
        }
    }
}

TEST(WatershedArea, AMinimumOf1AcceptsEveryCandidate) {
    const Rows image{"0919", "2939", "9991"};
    EXPECT_EQ(WithArea(image, 1), FloodedN4(image));
    EXPECT_EQ(WithArea(image, 1).regionCount, 3U);
}

TEST(WatershedArea, AMinimumOf2RejectsALonePixelAndAcceptsTwo) {
    EXPECT_EQ(WithArea({"0"}, 2), (StFloodedPicture{{"m"}, 0}));
    // At the same level, and by a pixel of the next one.
    EXPECT_EQ(WithArea({"00"}, 2), (StFloodedPicture{{"11"}, 1}));
    EXPECT_EQ(WithArea({"01"}, 2), (StFloodedPicture{{"11"}, 1}));
}

TEST(WatershedArea, ACandidateOfNPixelsCounts2NMinus1) {
    EXPECT_EQ(WithArea({"000"}, 5), (StFloodedPicture{{"111"}, 1}));
    EXPECT_EQ(WithArea({"000"}, 6), (StFloodedPicture{{"mmm"}, 0}));
    EXPECT_EQ((RecordAfter<CWatershedCriterionArea>({"000"}, {.minimum = 6}).count), 5U);
}

TEST(WatershedArea, AMinimumAboveTwiceTheImageReturns0AndLeavesEveryPixelWaiting) {
    EXPECT_EQ(WithArea({"0919", "2939", "9991"}, 25), (StFloodedPicture{{"mmmm", "mmmm", "mmmm"}, 0}));
}

TEST(WatershedArea, ABasinTooSmallIsSwallowedByItsNeighbour) {
    // The lone 0 fails and waits; region 1 of the basin on the right comes over the ridge.
    EXPECT_EQ(WithArea({"09000"}, 3), (StFloodedPicture{{"11111"}, 1}));
}

TEST(WatershedArea, ABasinTooSmallIsTakenAsPartOfALargerOneAtAHigherLevel) {
    EXPECT_EQ(WithArea({"02920"}, 3), (StFloodedPicture{{"11022"}, 2}));
}

TEST(WatershedArea, RegionNumbersHaveNoGapsAfterARefusal) {
    // Numbers in the order of birth: the pair on the right, then the left one at level 2.
    EXPECT_EQ(WithArea({"02900"}, 3), (StFloodedPicture{{"22011"}, 2}));
}

TEST(WatershedArea, ACancelledRunLeavesRefusedCandidatesWaiting) {
    const CapturedOutput silence;
    const auto image = ImageOf(Rows{"01232"});
    CImage labels(IMAGE_GREY_32, image->Size(), CSize(0, 0, 0));
    test::RecordingProgress progress;
    progress.cancelAt = 3 + 2; // after levels 0 and 1
    CWatershedCriterionArea::StParameters record{.minimum = 4};
    EXPECT_EQ(
        (CWatershedTemplate<CNeighborhood2dDiffN4>().DoWatershed<unsigned char, CWatershedCriterionArea>(
            labels, *image, nullptr, &record, progress)),
        0U);
    EXPECT_EQ(test::PictureOf(test::PixelsOf<std::uint32_t>(labels), 5), (Rows{"mmiii"}));
}

TEST(WatershedHeight, NoRegionIsBornAtTheMinimumOrBelow) {
    EXPECT_EQ(WithHeight({"00000"}, 0), (StFloodedPicture{{"mmmmm"}, 0}));
    EXPECT_EQ(WithHeight({"55555"}, 5), (StFloodedPicture{{"mmmmm"}, 0}));
    EXPECT_EQ(WithHeight({"55555"}, 4), (StFloodedPicture{{"11111"}, 1}));
}

TEST(WatershedHeight, TheFirstCandidateAboveTheMinimumTakesInAllWaitingPixelsConnectedToIt) {
    EXPECT_EQ(WithHeight({"01230", //
                          "99999", //
                          "40040"},
                         2),
              (StFloodedPicture{{"11111", //
                                 "00000", //
                                 "22222"},
                                2}));
}

TEST(WatershedHeight, Beyond16BitsTheMinimumIsARankAmongTheValues) {
    const auto image = ImageOf<unsigned int>(IMAGE_GREY_32, CSize(3, 1), {1000, 2000, 3000});
    const auto floats = ImageOf<float>(IMAGE_GREY_F, CSize(3, 1), {-5.0F, 0.5F, 9.0F});
    const auto words = ImageOf<unsigned short>(IMAGE_GREY_16, CSize(3, 1), {1000, 2000, 3000});
    const auto regions = [](const CImage& input, std::uint32_t minimum) {
        return Flood(floods[0], input, nullptr, WATERSHED_MIN_GREY_VALUE, minimum).regionCount;
    };
    EXPECT_EQ(regions(*image, 1), 1U);
    EXPECT_EQ(regions(*image, 2), 0U);
    EXPECT_EQ(regions(*floats, 1), 1U);
    EXPECT_EQ(regions(*floats, 2), 0U);
    EXPECT_EQ(regions(*words, 2999), 1U);
    EXPECT_EQ(regions(*words, 3000), 0U);
}

TEST(WatershedDepth, IsTheLevelLessTheCandidatesOwnNumberAndHasToExceedTheMinimumByMoreThan1) {
    EXPECT_EQ(WithDepth({"5"}, 2), (StFloodedPicture{{"1"}, 1})); // 5 - 1 > 2 + 1
    EXPECT_EQ(WithDepth({"5"}, 3), (StFloodedPicture{{"m"}, 0}));
    EXPECT_EQ(WithDepth({"1"}, 0), (StFloodedPicture{{"m"}, 0}));
    // Region 2 lies one less above its number.
    EXPECT_EQ(WithDepth({"595"}, 2), (StFloodedPicture{{"111"}, 1}));
    EXPECT_EQ(WithDepth({"595"}, 1), (StFloodedPicture{{"102"}, 2}));
}

TEST(WatershedDepth, ANumberAboveTheLevelWrapsAroundAndIsDeepEnoughForAlmostAny) {
    EXPECT_EQ(WithDepth({"0"}, 0xFFFFFFFD), (StFloodedPicture{{"1"}, 1})); // 0xFFFFFFFF > 0xFFFFFFFE
    EXPECT_EQ(WithDepth({"0"}, 0xFFFFFFFE), (StFloodedPicture{{"m"}, 0}));
    // The minimum plus 1 wraps around too.
    EXPECT_EQ(WithDepth({"0"}, 0xFFFFFFFF), (StFloodedPicture{{"1"}, 1}));
    EXPECT_EQ(WithDepth({"1"}, 0xFFFFFFFF), (StFloodedPicture{{"m"}, 0}));
}

TEST(WatershedVolume, SumsTheLevelLessTheCandidatesOwnNumberPlus1OverAllPixelsShown) {
    // A pixel counts 3 - 1 + 1, and three pixels are shown five times.
    EXPECT_EQ(WithVolume({"333"}, 15), (StFloodedPicture{{"111"}, 1}));
    EXPECT_EQ(WithVolume({"333"}, 16), (StFloodedPicture{{"mmm"}, 0}));
    // A second region counts nothing at level 1; its number goes to the pixel of level 2.
    EXPECT_EQ(WithVolume({"19192"}, 1), (StFloodedPicture{{"11022"}, 2}));
}

TEST(WatershedVolume, ANumberAboveTheLevelWrapsAroundAndCountsMuch) {
    using Volume = CWatershedCriterionVolume;
    // Number 1 at level 0 comes to exactly 0, number 2 to the greatest number of 32 bits.
    EXPECT_EQ(WithVolume({"0"}, 1), (StFloodedPicture{{"m"}, 0}));
    EXPECT_EQ((RecordAfter<Volume>({"0"}, {.minimum = 0.0}).sum), 0.0);
    EXPECT_EQ((RecordAfter<Volume>({"090"}, {.minimum = 0.0}).sum), 4294967295.0);
    EXPECT_EQ((RecordAfter<Volume>({"0900"}, {.minimum = 0.0}).sum), 3 * 4294967295.0);
}

TEST(WatershedCriteria, WithSeedsNoCriterionIsAsked) {
    for (const auto mode :
         {WATERSHED_NO_OF_VOXEL, WATERSHED_MIN_GREY_VALUE, WATERSHED_MIN_DEPTH, WATERSHED_MIN_VOLUME})
        EXPECT_EQ(FloodedN4({"00900"}, {"2...1"}, mode, 4000000000), (StFloodedPicture{{"22011"}, 2}));
}

TEST(WatershedCriteria, TheHistoryShowsTheMinimumOfAllButTheVolume) {
    const CapturedOutput silence;
    CImage labels(IMAGE_GREY_32, CSize(1, 1), CSize(0, 0));
    const auto image = ImageOf(Rows{"9"});
    for (const auto& [mode, text] :
         {std::pair{WATERSHED_NORMAL, ""}, std::pair{WATERSHED_NO_OF_VOXEL, ",area=4000000000"},
          std::pair{WATERSHED_MIN_GREY_VALUE, ",height=4000000000"},
          std::pair{WATERSHED_MIN_DEPTH, ",depth=4000000000"}, std::pair{WATERSHED_MIN_VOLUME, ""},
          std::pair{static_cast<EnWatershedMode>(5), ""}})
        EXPECT_EQ(floods[0].run({labels, *image, nullptr, mode, 4000000000}).modeText, text);
}

} // namespace
