#include "segmentation/WatershedImpl.h"

#include "src/segmentation/floods/WatershedTools.h"
#include "support/Raised.h"

#include <sorblib2core/CException.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <span>
#include <tuple>

using namespace ORVEN;
using test::CapturedOutput;
using test::FakeImage;
using test::Flood;
using test::FloodedN4;
using test::floods;
using test::HostProgress;
using test::ImageOf;
using test::PixelsOf;
using test::Raised;
using test::RecordingProgress;
using test::Rows;
using test::StFlooded;
using test::StFloodedPicture;

namespace {

const IImage::CType* const c_inputTypes[] = {&IMAGE_GREY_8, &IMAGE_GREY_16, &IMAGE_GREY_32, &IMAGE_GREY_F,
                                             &IMAGE_BINARY_FG};

CImage Image(const IImage::CType& type, const CSize& size) { return {type, size, CSize(0, 0, 0)}; }

/// The flood of an image of pixels T without seeds into `labels`, with the debugging lines held back.
template <class N, class T>
std::uint32_t FloodMinima(IImage& labels, const IImage& image, IProgress& progress,
                          const IImage* seeds = nullptr) {
    const CapturedOutput silence;
    return CWatershedTemplate<N>().template DoWatershed<T, CWatershedCriterionNone>(labels, image, seeds,
                                                                                    nullptr, progress);
}

// --- regions and lines
// --------------------------------------------------------------------------------------------

TEST(Watershed, AConstantImageIsOneRegionWithoutLines) {
    for (const auto& flood : floods) {
        for (const auto* type : c_inputTypes) {
            SCOPED_TRACE(std::string(flood.id) + " " + type->ToString());
            const CSize size = flood.dimension == 3 ? CSize(4, 3, 2) : CSize(4, 3);
            const auto pixelCount = static_cast<std::size_t>(size.PixelCount());
            EXPECT_EQ(Flood(flood, Image(*type, size)),
                      (StFlooded{std::vector<std::uint32_t>(pixelCount, 1), 1}));
        }
    }
}

TEST(Watershed, ARidgeOnePixelWideBecomesTheLine) {
    EXPECT_EQ(FloodedN4({"00900", //
                         "00900"}),
              (StFloodedPicture{{"11022", //
                                 "11022"},
                                2}));
}

TEST(Watershed, OnARidgeTwoPixelsWideTheFirstInTheQueueJoinsItsSideAndTheSecondIsTheLine) {
    EXPECT_EQ(FloodedN4({"0110"}), (StFloodedPicture{{"1102"}, 2}));
    EXPECT_EQ(FloodedN4({"0", "1", "1", "0"}), (StFloodedPicture{{"1", "1", "0", "2"}, 2}));
}

TEST(Watershed, APlateauIsDividedByDistanceAlongThePlateau) {
    EXPECT_EQ(FloodedN4({"0111110"}), (StFloodedPicture{{"1110222"}, 2}));
    // Around the walls the middle is six steps from either minimum.
    EXPECT_EQ(FloodedN4({"09111", //
                         "19191", //
                         "11190"}),
              (StFloodedPicture{{"10222", //
                                 "11022", //
                                 "11102"},
                                2}));
}

TEST(Watershed, RegionNumbersFollowTheLevelFirstAndRasterOrderWithinALevel) {
    EXPECT_EQ(FloodedN4({"29190"}), (StFloodedPicture{{"30201"}, 3}));
    EXPECT_EQ(FloodedN4({"090", //
                         "999", //
                         "090"}),
              (StFloodedPicture{{"102", //
                                 "000", //
                                 "304"},
                                4}));
}

TEST(Watershed, APixelThatMetOnlyALineJoinsTheRegionItMeetsNext) {
    // The pixel of value 2 sees the line above it before the region on its left.
    EXPECT_EQ(FloodedN4({"010", //
                         "123"}),
              (StFloodedPicture{{"102", //
                                 "110"},
                                2}));
}

TEST(Watershed, APixelThatMetARegionAndThenALineKeepsTheRegion) {
    EXPECT_EQ(FloodedN4({"123", //
                         "010"}),
              (StFloodedPicture{{"110", //
                                 "102"},
                                2}));
}

TEST(Watershed, APixelThatMeetsALineAndNoRegionIsOnTheLine) {
    EXPECT_EQ(FloodedN4({"010", //
                         "929"}),
              (StFloodedPicture{{"102", //
                                 "102"},
                                2}));
}

TEST(Watershed, APixelThatMeetsALineAndTwoRegionsIsOnTheLine) {
    EXPECT_EQ(FloodedN4({"010", //
                         "121"}),
              (StFloodedPicture{{"102", //
                                 "102"},
                                2}));
}

TEST(Watershed, AnImageWithoutPixelsHasNoRegion) {
    for (const auto* type : c_inputTypes) {
        EXPECT_EQ(Flood(floods[0], Image(*type, CSize(0, 3))), (StFlooded{{}, 0}));
        EXPECT_EQ(Flood(floods[4], Image(*type, CSize(3, 2, 0))), (StFlooded{{}, 0}));
    }
}

TEST(Watershed, MinusZeroIsZeroAndNegativeValuesLieBelow) {
    const auto image =
        ImageOf<float>(IMAGE_GREY_F, CSize(7, 1), {0.0F, -0.0F, 3.0F, -1.0F, 3.0F, -0.0F, 0.0F});
    EXPECT_EQ(Flood(floods[0], *image), (StFlooded{{2, 2, 0, 1, 0, 3, 3}, 3}));
}

TEST(Watershed, TheLongestAxisIs32766Pixels) {
    for (const CSize& size : {CSize(32766, 1, 1), CSize(1, 32766, 1), CSize(1, 1, 32766)}) {
        CImage image = Image(IMAGE_GREY_8, size);
        // A minimum at either end, so that the flood has to come by both.
        CImageView<unsigned char> view(image);
        for (std::int64_t z = 0; z < view.nz; ++z) {
            for (std::int64_t y = 0; y < view.ny; ++y)
                std::fill_n(view.Row(y, z), view.nx, static_cast<unsigned char>(1));
        }
        view.Row(0, 0)[0] = 0;
        view.Row(view.ny - 1, view.nz - 1)[view.nx - 1] = 0;
        for (std::size_t i = 4; i < floods.size(); ++i) {
            SCOPED_TRACE(size.ToString() + " " + floods[i].id);
            const StFlooded flooded = Flood(floods[i], image);
            EXPECT_EQ(flooded.regionCount, 2U);
            // Region 1 is the first in the queue, and takes one of the two pixels in the middle.
            std::vector<std::uint32_t> expected(32766, 1);
            expected[16383] = 0;
            std::fill(expected.begin() + 16384, expected.end(), 2U);
            EXPECT_EQ(flooded.labels, expected);
        }
    }
}

// --- seeds
// --------------------------------------------------------------------------------------------------------

TEST(WatershedSeeds, ASeedImageOfZerosReturns0AndLeavesEveryPixelWaiting) {
    for (const auto& flood : floods) {
        const CSize size = flood.dimension == 3 ? CSize(3, 2, 2) : CSize(3, 2);
        const auto pixelCount = static_cast<std::size_t>(size.PixelCount());
        for (const auto* type : {&IMAGE_GREY_8, &IMAGE_GREY_16, &IMAGE_GREY_32, &IMAGE_BINARY_FG}) {
            SCOPED_TRACE(std::string(flood.id) + " " + type->ToString());
            const CImage seeds = Image(*type, size);
            EXPECT_EQ(Flood(flood, Image(IMAGE_GREY_16, size), &seeds),
                      (StFlooded{std::vector<std::uint32_t>(pixelCount, LabelMask), 0}));
        }
    }
}

TEST(WatershedSeeds, ASeedKeepsItsLabelOnARidge) {
    EXPECT_EQ(FloodedN4({"09190"}, {".5.7."}), (StFloodedPicture{{"55077"}, 7}));
}

TEST(WatershedSeeds, BetweenSeedsOfOneLabelNoLineArises) {
    EXPECT_EQ(FloodedN4({"010"}, {"3.3"}), (StFloodedPicture{{"333"}, 3}));
}

TEST(WatershedSeeds, BetweenSeedsOfDifferentLabelsALineArises) {
    EXPECT_EQ(FloodedN4({"010"}, {"3.4"}), (StFloodedPicture{{"304"}, 4}));
}

TEST(WatershedSeeds, SeedsSideBySideKeepTheirLabelsWithoutALine) {
    EXPECT_EQ(FloodedN4({"000000"}, {".3423."}), (StFloodedPicture{{"334233"}, 4}));
}

TEST(WatershedSeeds, TheResultIsTheHighestSeedWhetherOrNotTheNumbersBelowAreUsed) {
    EXPECT_EQ(FloodedN4({"000"}, {"9.2"}), (StFloodedPicture{{"902"}, 9}));
}

TEST(WatershedSeeds, MinimaWithoutASeedMakeNoRegionAndAreTakenInFromTheSide) {
    // Two minima of 0 wait until the region comes over the ridge.
    EXPECT_EQ(FloodedN4({"0050500"}, {"..1...."}), (StFloodedPicture{{"1111111"}, 1}));
}

TEST(WatershedSeeds, AnImageThatIsSeededEverywhereIsTheSeeds) {
    for (const auto* type : c_inputTypes) {
        const auto seeds = ImageOf(Rows{"123", "456"});
        EXPECT_EQ(Flood(floods[0], Image(*type, CSize(3, 2)), seeds.get()),
                  (StFlooded{{1, 2, 3, 4, 5, 6}, 6}));
    }
}

TEST(WatershedSeeds, ASeedOfASentinelValueIsTakenForTheSentinel) {
    const auto flooded = [](std::uint32_t seed) {
        const auto seeds = ImageOf<std::uint32_t>(IMAGE_GREY_32, CSize(4, 1), {5, 0, seed, 0});
        return Flood(floods[0], Image(IMAGE_GREY_8, CSize(4, 1)), seeds.get());
    };
    // The highest number of a region spreads like any other.
    EXPECT_EQ(flooded(0xFFFFFFFC), (StFlooded{{5, 0, 0xFFFFFFFC, 0xFFFFFFFC}, 0xFFFFFFFC}));
    // In the queue, where it is not: nothing spreads from it and nothing takes it.
    EXPECT_EQ(flooded(LabelInQueue), (StFlooded{{5, 5, LabelInQueue, LabelMask}, LabelInQueue}));
    // Waiting: region 5 takes it, and goes on behind it.
    EXPECT_EQ(flooded(LabelMask), (StFlooded{{5, 5, 5, 5}, LabelMask}));
    // Not reached, and never will be.
    EXPECT_EQ(flooded(LabelInit), (StFlooded{{5, 5, LabelInit, LabelMask}, LabelInit}));
}

// --- memory of the labels
// ---------------------------------------------------------------------------------------------

TEST(WatershedLabels, AnyStridesWillDoAndNothingIsWrittenBetweenOrAroundThePixels) {
    std::mt19937 random(20240117);
    const CSize size(5, 4, 3);
    const auto image = test::RandomImage<unsigned char>(IMAGE_GREY_8, size, random, 0, 4);
    const StFlooded expected = Flood(floods[7], *image);
    // Pixels 8 bytes apart from right to left, rows and planes with gaps.
    const CPos strides(-8, 48, 256);
    const std::int64_t start = 16 + 4 * 8;
    FakeImage labels(IMAGE_GREY_32, size, strides, 16 + 3 * 256 + 16, start);
    RecordingProgress progress;
    EXPECT_EQ((FloodMinima<CNeighborhood3dDiffN26, unsigned char>(labels, *image, progress)),
              expected.regionCount);
    std::vector<unsigned char> memory(labels.memory.size(), 0xAB);
    std::size_t i = 0;
    for (std::int64_t z = 0; z < size.z; ++z) {
        for (std::int64_t y = 0; y < size.y; ++y) {
            for (std::int64_t x = 0; x < size.x; ++x, ++i)
                std::memcpy(memory.data() + start + x * strides.x + y * strides.y + z * strides.z,
                            &expected.labels[i], sizeof expected.labels[i]);
        }
    }
    EXPECT_EQ(labels.memory, memory);
}

TEST(WatershedLabels, ABorderIsLeftAlone) {
    for (const auto& flood : floods) {
        SCOPED_TRACE(flood.id);
        const CSize size = flood.dimension == 3 ? CSize(3, 2, 2) : CSize(3, 2);
        const CSize border = flood.dimension == 3 ? CSize(1, 2, 1) : CSize(1, 2);
        const std::size_t allocated = 5 * 6 * (flood.dimension == 3 ? 4U : 1U);
        std::vector<std::uint32_t> memory(allocated, 0xABABABABU);
        CImage labels(IMAGE_GREY_32, size, reinterpret_cast<unsigned char*>(memory.data()), nullptr, nullptr,
                      border);
        const CapturedOutput silence;
        EXPECT_EQ(flood.run({labels, Image(IMAGE_GREY_8, size), nullptr, WATERSHED_NORMAL, 0}).regionCount,
                  1U);
        EXPECT_EQ(std::count(memory.begin(), memory.end(), 1U), size.PixelCount());
        EXPECT_EQ(std::count(memory.begin(), memory.end(), 0xABABABABU),
                  static_cast<std::int64_t>(allocated) - size.PixelCount());
    }
}

TEST(WatershedLabels, TheFloodLocksThemOnceAsAWholeAndUnlocksThem) {
    const auto lastCalls = [](const CSize& size, auto run) {
        FakeImage labels(IMAGE_GREY_32, size, CPos(4, 16, 64), 256, 0);
        test::Log log;
        labels.log = &log;
        run(labels, Image(IMAGE_GREY_8, size));
        EXPECT_EQ(labels.openAccesses, 0);
        return test::Log(log.end() - 4, log.end());
    };
    RecordingProgress progress;
    EXPECT_EQ(lastCalls(CSize(4, 3, 2),
                        [&](IImage& labels, const IImage& image) {
                            FloodMinima<CNeighborhood3dDiffN6, unsigned char>(labels, image, progress);
                        }),
              (test::Log{"image: access false", "image: lock (0,0,0) to (3,2,1) mode 3", "image: unlock",
                         "image: destroyed"}));
    EXPECT_EQ(lastCalls(CSize(4, 3),
                        [&](IImage& labels, const IImage& image) {
                            FloodMinima<CNeighborhood2dDiffN8, unsigned char>(labels, image, progress);
                        }),
              (test::Log{"image: access false", "image: lock (0,0) to (3,2) mode 3", "image: unlock",
                         "image: destroyed"}));
}

TEST(WatershedLabels, OneEngineProcessesSeveralImagesInTurn) {
    CWatershedTemplate<CNeighborhood2dDiffN4> engine;
    RecordingProgress progress;
    const auto flooded = [&](const Rows& picture) {
        const CapturedOutput silence;
        const auto image = ImageOf(picture);
        CImage labels = Image(IMAGE_GREY_32, image->Size());
        const std::uint32_t count = engine.DoWatershed<unsigned char, CWatershedCriterionNone>(
            labels, *image, nullptr, nullptr, progress);
        return StFloodedPicture{test::PictureOf(PixelsOf<std::uint32_t>(labels), picture[0].size()), count};
    };
    EXPECT_EQ(flooded({"0909", "9999", "0909"}).regionCount, 4U);
    EXPECT_EQ(flooded({"01", "90"}), FloodedN4({"01", "90"}));
}

// --- what is refused
// --------------------------------------------------------------------------------------------------

/// The images of a run that is refused, each in its fitting form to start with.
struct StRefused {
    CSize inputSize{4, 3, 2};
    IImage::CType inputType = IMAGE_GREY_8;
    CSize outputSize{4, 3, 2};
    IImage::CType outputType = IMAGE_GREY_32;
    bool hasSeeds = false;
    CSize seedSize{4, 3, 2};
    IImage::CType seedType = IMAGE_GREY_16;
};

/// The message of the run over N6, having made sure that it changed nothing and asked nothing.
std::string Message(const StRefused& refused, const char* source, std::int64_t questions = 0) {
    const CImage input = Image(refused.inputType, refused.inputSize);
    const CImage seeds = Image(refused.seedType, refused.seedSize);
    CImage output = Image(refused.outputType, refused.outputSize);
    const auto bytes = [&output] {
        const std::unique_ptr<IImage::IAccess> access(output.CreateAccess(false));
        Impl::LockWhole(*access, output.Size(), IImage::LOCK_READ_WRITE);
        auto* const data = static_cast<unsigned char*>(access->Data());
        return std::span(data,
                         static_cast<std::size_t>(output.Size().PixelCount()) * output.Type().PixelSize());
    }();
    std::ranges::fill(bytes, static_cast<unsigned char>(0x5A));
    RecordingProgress progress;
    const auto raised = Raised<CException>([&] {
        FloodMinima<CNeighborhood3dDiffN6, unsigned char>(output, input, progress,
                                                          refused.hasSeeds ? &seeds : nullptr);
    });
    EXPECT_STREQ(raised.Source(), source);
    EXPECT_TRUE(std::ranges::all_of(bytes, [](unsigned char byte) { return byte == 0x5A; }));
    EXPECT_TRUE(output.Attributes().IsEmpty());
    EXPECT_EQ(progress.questions, questions);
    return raised.Message();
}

const char* const c_siteN6 = "ORVEN::CWatershedTemplate<struct ORVEN::CNeighborhood3dDiffN6>::DoWatershed";

std::string Message(const StRefused& refused) { return Message(refused, c_siteN6); }

TEST(WatershedChecks, ATwoDimensionalImageIsNoneForAThreeDimensionalEngine) {
    EXPECT_EQ(Message({.inputSize = CSize(4, 3), .outputSize = CSize(4, 3)}),
              "image dimension of input image and neighborhood does not match (2 vs 3).");
}

TEST(WatershedChecks, AThreeDimensionalImageIsNoneForATwoDimensionalEngine) {
    const auto raised = Raised<CException>([] { Flood(floods[0], Image(IMAGE_GREY_8, CSize(4, 3, 1))); });
    EXPECT_STREQ(raised.Message(),
                 "image dimension of input image and neighborhood does not match (3 vs 2).");
}

TEST(WatershedChecks, AnAxisOf32767PixelsIsTooLong) {
    for (const CSize& size : {CSize(32767, 1, 1), CSize(1, 32767, 1), CSize(1, 1, 32767), CSize(32768, 1, 1)})
        EXPECT_EQ(Message({.inputSize = size, .outputSize = size}),
                  "one image size is too big (max is 32767");
}

TEST(WatershedChecks, TheOutputHasTheSizeOfTheInput) {
    EXPECT_EQ(Message({.outputSize = CSize(4, 3, 5)}), "image sizes are not equal ((4,3,2) vs (4,3,5)).");
    EXPECT_EQ(Message({.outputSize = CSize(4, 3)}), "image sizes are not equal ((4,3,2) vs (4,3)).");
}

TEST(WatershedChecks, TheInputIsGrey) {
    EXPECT_EQ(Message({.inputType = IMAGE_COMPLEX_F}),
              "input image type 'IMAGE_COMPLEX_F' does not match (should be gray float or int "
              "8bit/16bit/32bit).");
}

TEST(WatershedChecks, AnOutputOfTheWrongTypeIsRefusedWithTheTypeOfTheInput) {
    for (const auto& type :
         {IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_F, IMAGE_COMPLEX_F, IMAGE_BINARY_FG, IMAGE_BINARY_BG})
        EXPECT_EQ(Message({.outputType = type}),
                  "output image type 'IMAGE_GREY_8' does not match (should be gray int 32bit).")
            << type.ToString();
    EXPECT_EQ(Message({.inputType = IMAGE_GREY_F, .outputType = IMAGE_GREY_16}),
              "output image type 'IMAGE_GREY_F' does not match (should be gray int 32bit).");
}

TEST(WatershedChecks, TheSeedsHaveTheSizeOfTheInput) {
    EXPECT_EQ(Message({.hasSeeds = true, .seedSize = CSize(4, 1, 2)}),
              "seeding and input image sizes are not equal ((4,1,2) vs (4,3,2)).");
}

TEST(WatershedChecks, TheSeedsAreLabels) {
    EXPECT_EQ(Message({.hasSeeds = true, .seedType = IMAGE_GREY_F}),
              "region seeding image type 'IMAGE_GREY_F' does not match (must be gray label type: int "
              "8bit/16bit/32bit).");
    EXPECT_EQ(Message({.hasSeeds = true, .seedType = IMAGE_COMPLEX_F}),
              "region seeding image type 'IMAGE_COMPLEX_F' does not match (must be gray label type: int "
              "8bit/16bit/32bit).");
}

TEST(WatershedChecks, SeedsOfAByteThatAreNoLabelsAreRefusedByTheInitialisation) {
    // A background image passes as one of 8 bits, and is found out after the first question.
    EXPECT_EQ(Message({.hasSeeds = true, .seedType = IMAGE_BINARY_BG}, "Init", 1),
              "Image type IMAGE_BINARY_BG not supported.");
}

TEST(WatershedChecks, OfTwoErrorsTheFirstIsReported) {
    // Each case has what is reported first, and what would be reported next.
    StRefused refused{.inputSize = CSize(32767, 1), .outputSize = CSize(32767, 1)};
    EXPECT_EQ(Message(refused), "image dimension of input image and neighborhood does not match (2 vs 3).");
    refused.inputSize = CSize(32767, 1, 1);
    EXPECT_EQ(Message(refused), "one image size is too big (max is 32767");
    refused.inputSize = CSize(4, 3, 2);
    refused.inputType = IMAGE_COMPLEX_F;
    refused.outputSize = CSize(4, 2, 2);
    EXPECT_EQ(Message(refused), "image sizes are not equal ((4,3,2) vs (4,2,2)).");
    refused.outputSize = refused.inputSize;
    refused.outputType = IMAGE_GREY_8;
    EXPECT_EQ(Message(refused), "input image type 'IMAGE_COMPLEX_F' does not match (should be gray float or "
                                "int 8bit/16bit/32bit).");
    refused.inputType = IMAGE_GREY_8;
    refused.hasSeeds = true;
    refused.seedSize = CSize(4, 2, 2);
    EXPECT_EQ(Message(refused),
              "output image type 'IMAGE_GREY_8' does not match (should be gray int 32bit).");
    refused.outputType = IMAGE_GREY_32;
    refused.seedType = IMAGE_GREY_F;
    EXPECT_EQ(Message(refused), "seeding and input image sizes are not equal ((4,2,2) vs (4,3,2)).");
}

TEST(WatershedChecks, EveryEngineRaisesInItsOwnName) {
    for (const auto& flood : floods) {
        const CSize size = flood.dimension == 3 ? CSize(2, 2, 2) : CSize(2, 2);
        CImage output = Image(IMAGE_GREY_8, size);
        const auto raised = Raised<CException>([&] {
            flood.run({output, Image(IMAGE_GREY_16, size), nullptr, WATERSHED_NORMAL, 0});
        });
        EXPECT_EQ(raised.Source(), "ORVEN::CWatershedTemplate<struct ORVEN::CNeighborhood" +
                                       std::to_string(flood.dimension) + "dDiff" + flood.id +
                                       ">::DoWatershed");
        EXPECT_STREQ(raised.Location().function, raised.Source());
        EXPECT_STREQ(raised.Location().file, "src/segmentation/WatershedImpl");
    }
}

// --- cancelling
// -------------------------------------------------------------------------------------------------------

template <class T>
int QuestionsOfAFlood(const CImage& image, const CImage* seeds = nullptr) {
    RecordingProgress progress;
    CImage labels = Image(IMAGE_GREY_32, image.Size());
    FloodMinima<CNeighborhood2dDiffN4, T>(labels, image, progress, seeds);
    EXPECT_EQ(progress.steps, 0);
    EXPECT_TRUE(progress.texts.empty());
    return progress.questions;
}

TEST(WatershedCancel, TheFloodAsksThreeTimesBeforeItOncePerLevelEmptyOrNotAndOnceAfterIt) {
    EXPECT_EQ(QuestionsOfAFlood<unsigned char>(Image(IMAGE_GREY_8, CSize(3, 2))), 3 + 256 + 1);
    EXPECT_EQ(QuestionsOfAFlood<unsigned short>(Image(IMAGE_GREY_16, CSize(3, 2))), 3 + 65536 + 1);
    EXPECT_EQ(QuestionsOfAFlood<unsigned int>(Image(IMAGE_GREY_32, CSize(3, 2))), 3 + 1 + 1);
    const auto floats = ImageOf<float>(IMAGE_GREY_F, CSize(3, 2), {0.0F, -0.0F, -1.0F, 2.5F, 2.5F, 7.0F});
    EXPECT_EQ(QuestionsOfAFlood<float>(*floats), 3 + 4 + 1);
    // A value that stands under seeds only is no level.
    const auto seeds = ImageOf(Rows{"...", "111"});
    EXPECT_EQ(QuestionsOfAFlood<float>(*floats, seeds.get()), 3 + 2 + 1);
    const auto allSeeds = ImageOf(Rows{"111", "111"});
    EXPECT_EQ(QuestionsOfAFlood<float>(*floats, allSeeds.get()), 3 + 0 + 1);
    EXPECT_EQ(QuestionsOfAFlood<unsigned char>(Image(IMAGE_GREY_8, CSize(3, 2)), allSeeds.get()),
              3 + 256 + 1);
}

/// A run that is cancelled at a question, from 0, of the flood or of the traversals in it.
struct StCancelled {
    std::uint32_t regionCount;
    int questions;
    int openAccesses;
};

template <class N, class T>
StCancelled Cancelled(const CImage& image, const CImage* seeds, int question, bool staysCancelled) {
    FakeImage labels(IMAGE_GREY_32, image.Size(), CPos(4, 16, 64), 256, 0);
    HostProgress progress;
    progress.cancelAt = question;
    progress.staysCancelled = staysCancelled;
    const std::uint32_t count = FloodMinima<N, T>(labels, image, progress, seeds);
    return {count, progress.questions, labels.openAccesses};
}

template <class N, class T>
void CancelEverywhere(const CImage& image, const CImage* seeds) {
    const StCancelled whole = Cancelled<N, T>(image, seeds, -1, true);
    EXPECT_GT(whole.regionCount, 1U);
    for (int question = 0; question < whole.questions; ++question) {
        SCOPED_TRACE("question " + std::to_string(question));
        const StCancelled cancelled = Cancelled<N, T>(image, seeds, question, true);
        EXPECT_EQ(cancelled.regionCount, 0U);
        EXPECT_EQ(cancelled.openAccesses, 0);
        // A sink that has forgotten it at the next question leaves the answer open, but nothing else.
        EXPECT_EQ((Cancelled<N, T>(image, seeds, question, false).openAccesses), 0);
    }
}

TEST(WatershedCancel, AtAnyQuestionTheResultIs0AndNothingStaysOpen) {
    const std::vector<float> values{0.5F, 3, 2, -1, 3, 2, 2, 3, 2, 3, 3, 2};
    const auto plane = ImageOf<float>(IMAGE_GREY_F, CSize(4, 3), values);
    const auto volume = ImageOf<float>(IMAGE_GREY_F, CSize(4, 1, 3), values);
    const auto bytes = ImageOf(Rows{"0920"});
    CancelEverywhere<CNeighborhood2dDiffN4, unsigned char>(*bytes, nullptr);
    CancelEverywhere<CNeighborhood2dDiffN8, float>(*plane, nullptr);
    CancelEverywhere<CNeighborhood3dDiffN6, float>(*volume, nullptr);

    const auto byteSeeds = ImageOf(Rows{"..12"});
    const auto planeSeeds = ImageOf<std::uint32_t>(IMAGE_GREY_32, CSize(4, 3), {0, 0, 1, 0, 2, 2});
    const auto volumeSeeds = ImageOf<unsigned short>(IMAGE_GREY_16, CSize(4, 1, 3), {2, 0, 1});
    CancelEverywhere<CNeighborhood2dDiffN4, unsigned char>(*bytes, byteSeeds.get());
    CancelEverywhere<CNeighborhood2dDiffN8, float>(*plane, planeSeeds.get());
    CancelEverywhere<CNeighborhood3dDiffN6, float>(*volume, volumeSeeds.get());
}

/// A volume of one level, which takes several questions.
const CSize c_manyPixels(64, 64, 32);

TEST(WatershedCancel, TheFloodAsksWithinALevelOfManyPixels) {
    RecordingProgress progress;
    const CImage image = Image(IMAGE_GREY_32, c_manyPixels);
    CImage labels = Image(IMAGE_GREY_32, c_manyPixels);
    EXPECT_EQ((FloodMinima<CNeighborhood3dDiffN6, unsigned int>(labels, image, progress)), 1U);
    // Three steps visit the pixels, and each asks at least once per 40000 of them.
    EXPECT_GE(progress.questions, 3 + 1 + 1 + 3 * 3);

    // With seeds, pixels are marked, and spread into from a few of them or left waiting.
    const auto seeds = ImageOf<unsigned char>(IMAGE_GREY_8, c_manyPixels, {1});
    progress.questions = 0;
    EXPECT_EQ((FloodMinima<CNeighborhood3dDiffN6, unsigned int>(labels, image, progress, seeds.get())), 1U);
    EXPECT_GE(progress.questions, 3 + 1 + 1 + 2 * 3);
    const CImage noSeeds = Image(IMAGE_GREY_8, c_manyPixels);
    progress.questions = 0;
    EXPECT_EQ((FloodMinima<CNeighborhood3dDiffN6, unsigned int>(labels, image, progress, &noSeeds)), 0U);
    EXPECT_GE(progress.questions, 3 + 1 + 1 + 2 * 3);
}

TEST(WatershedCancel, WithinALevelTheResultIs0AndNoPixelHasTheNumberOfARefusedBasin) {
    const CapturedOutput silence;
    const CImage image = Image(IMAGE_GREY_32, c_manyPixels);
    const auto waitingAfter = [&](int question) {
        RecordingProgress progress;
        progress.cancelAt = question;
        CImage labels = Image(IMAGE_GREY_32, c_manyPixels);
        CWatershedCriterionArea::StParameters record{1U << 30};
        EXPECT_EQ((CWatershedTemplate<CNeighborhood3dDiffN6>().DoWatershed<unsigned, CWatershedCriterionArea>(
                      labels, image, nullptr, &record, progress)),
                  0U);
        const auto pixels = PixelsOf<std::uint32_t>(labels);
        const auto waiting = std::ranges::count(pixels, LabelMask);
        EXPECT_EQ(waiting + std::ranges::count(pixels, LabelInit), c_manyPixels.PixelCount());
        return waiting;
    };
    EXPECT_EQ(waitingAfter(3), 0); // asked at the level
    const auto marked = waitingAfter(4);
    EXPECT_GT(marked, 0);
    EXPECT_LT(marked, c_manyPixels.PixelCount());
    for (int question = 5; question < 18; ++question)
        EXPECT_GE(waitingAfter(question), marked) << question;
    EXPECT_EQ(waitingAfter(-1), c_manyPixels.PixelCount());
}

TEST(WatershedCancel, ASinkThatForgetsACancellationDoesNoHarmToPreflooding) {
    // The sort may be incomplete then, and the result anything, but nothing outside the image is accessed.
    std::mt19937 random(4);
    const auto image = test::RandomImage<unsigned char>(IMAGE_GREY_8, CSize(5, 4, 3), random, 0, 6);
    const auto run = [&](int question) {
        const CapturedOutput silence;
        FakeImage labels(IMAGE_GREY_32, image->Size(), CPos(4, 32, 128), 1024, 0);
        HostProgress progress;
        progress.cancelAt = question;
        progress.staysCancelled = false;
        CWatershedCriterionArea::StParameters record{8};
        CWatershedTemplate<CNeighborhood3dDiffN6>().DoWatershed<unsigned char, CWatershedCriterionArea>(
            labels, *image, nullptr, &record, progress);
        EXPECT_EQ(labels.openAccesses, 0) << question;
        return progress.questions;
    };
    const int questions = run(-1);
    for (int question = 0; question < questions; ++question)
        run(question);
}

TEST(WatershedCancel, TheLabelsKeepWhatTheLevelsBeforeHaveLeft) {
    const auto labelsAfter = [](int question, const Rows& picture, const Rows& seedPicture = {}) {
        RecordingProgress progress;
        progress.cancelAt = question;
        const auto image = ImageOf(picture);
        const auto seeds = seedPicture.empty() ? nullptr : ImageOf(seedPicture);
        CImage labels = Image(IMAGE_GREY_32, image->Size());
        EXPECT_EQ((FloodMinima<CNeighborhood2dDiffN4, unsigned char>(labels, *image, progress, seeds.get())),
                  0U);
        return test::PictureOf(PixelsOf<std::uint32_t>(labels), picture[0].size())[0];
    };
    const Rows image{"0123949"};
    EXPECT_EQ(labelsAfter(0, image), "0000000"); // not touched yet
    EXPECT_EQ(labelsAfter(1, image), "iiiiiii");
    EXPECT_EQ(labelsAfter(2, image), "iiiiiii");
    EXPECT_EQ(labelsAfter(3, image), "iiiiiii"); // asked at level 0
    EXPECT_EQ(labelsAfter(4, image), "1iiiiii");
    EXPECT_EQ(labelsAfter(6, image), "111iiii");
    EXPECT_EQ(labelsAfter(3 + 9, image), "1111i2i");
    EXPECT_EQ(labelsAfter(3 + 256, image), "1111022"); // the last question of all
    // With seeds, pixels of the levels done wait until a region comes by.
    EXPECT_EQ(labelsAfter(3 + 0, {"01232"}, {"...7."}), "iii7i");
    EXPECT_EQ(labelsAfter(3 + 2, {"01232"}, {"...7."}), "mmi7i");
    EXPECT_EQ(labelsAfter(3 + 3, {"01232"}, {"...7."}), "77777");
}

TEST(WatershedCancel, BeforeTheFirstLevelTheMarkersStay) {
    // Memory for the labels is provided in several pieces.
    const CSize size(256, 256, 32);
    const CImage image = Image(IMAGE_GREY_8, size);
    CImage seeds = Image(IMAGE_GREY_32, size);
    CImageView<std::uint32_t>(seeds).Row(3, 5)[7] = 9;
    std::vector<std::uint32_t> expected(static_cast<std::size_t>(size.PixelCount()), LabelInit);
    expected[static_cast<std::size_t>((5 * 256 + 3) * 256 + 7)] = 9;
    for (int question = 3; question < 8; ++question) { // the first after the sort, and others
        RecordingProgress progress;
        progress.cancelAt = question;
        CImage labels = Image(IMAGE_GREY_32, size);
        EXPECT_EQ((FloodMinima<CNeighborhood3dDiffN6, unsigned char>(labels, image, progress, &seeds)), 0U);
        EXPECT_EQ(progress.questions, question + 1);
        EXPECT_TRUE(PixelsOf<std::uint32_t>(labels) == expected) << question;
    }
}

/// The labels of a run for a plug-in, which shows none of them, cancelled at a question.
std::string LabelsForAPlugin(int question, bool staysCancelled) {
    const CapturedOutput silence;
    HostProgress progress;
    progress.cancelAt = question;
    progress.staysCancelled = staysCancelled;
    const auto image = ImageOf(Rows{"0123949"});
    CImage labels = Image(IMAGE_GREY_32, image->Size());
    quillon::RunWatershed<CNeighborhood2dDiffN4>({labels, *image, nullptr, WATERSHED_NORMAL, 0});
    return test::PictureOf(PixelsOf<std::uint32_t>(labels), 7)[0];
}

TEST(WatershedCancel, ARunWhoseLabelsAreNotShownDoesNotCopyThem) {
    int questions = 0;
    {
        const CapturedOutput silence;
        const HostProgress progress;
        const auto image = ImageOf(Rows{"0123949"});
        CImage labels = Image(IMAGE_GREY_32, image->Size());
        quillon::RunWatershed<CNeighborhood2dDiffN4>({labels, *image, nullptr, WATERSHED_NORMAL, 0});
        questions = progress.questions;
    }
    // The last questions are those at the levels, and one behind them.
    for (const int level : {0, 4, 255, 256})
        EXPECT_EQ(LabelsForAPlugin(questions - 257 + level, true), "iiiiiii") << level;
    // A sink that has forgotten the cancellation shows the labels of the levels so far.
    EXPECT_EQ(LabelsForAPlugin(questions - 257 + 3, false), "111iiii");
    EXPECT_EQ(LabelsForAPlugin(questions - 257 + 256, false), "1111022");
    EXPECT_EQ(LabelsForAPlugin(questions, true), "1111022"); // never cancelled
}

} // namespace
