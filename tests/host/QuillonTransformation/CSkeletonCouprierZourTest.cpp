#include "engine/files/ImageFile.h"
#include "oracles/TopologyOracle.h"
#include "support/CRandomSeeds.h"
#include "support/CRecordingProgress.h"
#include "support/CThreadCount.h"
#include "support/Raised.h"

#include <QuillonBase/Parallel.h>
#include <QuillonTransformation/CSkeletonCouprierZour.h>
#include <QuillonTransformation/thinning/OrderedThinning.h>
#include <sorblib2core/CException.h>
#include <sorblib2image/CSorbImageFactory.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <numbers>

namespace {

using namespace ORVEN;
using test::StObject;
using Bytes = std::vector<unsigned char>;

CSize SizeOf(const StObject& object) { return {object.size[0], object.size[1], object.size[2]}; }

std::unique_ptr<CImage> NewImage(const IImage::CType& type, const CSize& size) {
    return std::make_unique<CImage>(type, size, CSize(0, 0, 0));
}

/// A binary image full of what nobody has written there on purpose.
std::unique_ptr<CImage> UntouchedImage(const CSize& size) {
    return test::ImageOf(IMAGE_BINARY_FG, size, Bytes(static_cast<std::size_t>(size.PixelCount()), 7));
}

StObject ObjectOf(const IImage& image) {
    StObject object(image.Size().x, image.Size().y, image.Size().z);
    object.pixels = test::PixelsOf<unsigned char>(image);
    return object;
}

std::int64_t PixelCount(const StObject& object) { return std::ranges::count(object.pixels, 1); }

/// The stages one by one.
struct StStages {
    explicit StStages(const StObject& input)
        : object(input)
        , image(input.Image())
        , squaredDistance(NewImage(IMAGE_GREY_32, SizeOf(input)))
        , medialAxis(UntouchedImage(SizeOf(input)))
        , bisector(NewImage(IMAGE_GREY_F, SizeOf(input))) {
        algorithm.SquaredEdt(*image, *squaredDistance, progress);
    }

    StStages& FindAxis(std::int64_t squaredRadius = 0) {
        algorithm.MedialAxis(*squaredDistance, *medialAxis, squaredRadius, progress, false);
        algorithm.Bisector(*squaredDistance, *medialAxis, *bisector, progress, false);
        return *this;
    }

    StObject ConstrainedSet(std::int64_t radius, float angle) {
        const auto output = UntouchedImage(SizeOf(object));
        algorithm.ConstrainedSet(*medialAxis, *squaredDistance, *bisector, *output, radius, angle, progress);
        return ObjectOf(*output);
    }

    StObject Skeleton(const std::string& id, const StObject& anchors) {
        const auto output = UntouchedImage(SizeOf(object));
        algorithm.EuclideanSkeleton(*image, *squaredDistance, *anchors.Image(), *output, id, progress);
        return ObjectOf(*output);
    }

    StObject Skeleton(const std::string& id) { return Skeleton(id, ObjectOf(*medialAxis)); }

    StObject object;
    std::unique_ptr<CImage> image;
    std::unique_ptr<CImage> squaredDistance;
    std::unique_ptr<CImage> medialAxis;
    std::unique_ptr<CImage> bisector;
    CSkeletonCouprierZour algorithm{nullptr, nullptr};
    CProgressProxy progress;
};

StObject SkeletonInOneCall(const StObject& object, const std::string& id, std::int64_t radius, float angle) {
    CProgressProxy progress;
    const auto output = UntouchedImage(SizeOf(object));
    CSkeletonCouprierZour(nullptr, nullptr)
        .RunSkeletonCouprierZour(*object.Image(), *output, id, radius, angle, progress, false);
    return ObjectOf(*output);
}

StObject None(const StObject& object) { return {object.size[0], object.size[1], object.size[2]}; }

/// A tunnel through a plate.
StObject Ring() {
    return test::ObjectOf({11, 11, 5}, [](const test::Vector& p) {
        const std::int64_t square = (p[0] - 5) * (p[0] - 5) + (p[1] - 5) * (p[1] - 5);
        return square >= 4 && square <= 25 && p[2] >= 1 && p[2] <= 3;
    });
}

/// A crop of a CT scan of cement paste, noise included: the solid or the pores.
StObject Cement(std::int64_t extent, bool isSolid) {
    const auto scan = engine::ReadImage(QUILLON_TEST_DATA "/cement_pores_128.nrrd");
    const CImageView<const unsigned char> view(*scan);
    return test::ObjectOf({extent, extent, extent}, [&](const test::Vector& p) {
        return (view.Row(p[1] + 40, p[2] + 40)[p[0] + 40] > 80) == isSolid;
    });
}

/// Noise that was smoothed by box sums and cut at its mean: rooms and walls of a few pixels, as in a foam.
StObject Foam(unsigned seed, std::int64_t extent, std::int64_t reach) {
    std::mt19937 random(seed);
    StObject noise(extent, extent, extent);
    for (unsigned char& pixel : noise.pixels)
        pixel = static_cast<unsigned char>(random() % 256);
    std::vector<double> values(noise.pixels.begin(), noise.pixels.end());
    for (int axis = 0; axis < 3; ++axis) {
        const std::vector<double> before = values;
        for (const test::Vector& p : noise.Positions()) {
            double sum = 0.0;
            for (std::int64_t step = -reach; step <= reach; ++step) {
                test::Vector q = p;
                auto& coordinate = q[static_cast<std::size_t>(axis)];
                coordinate = (coordinate + step + extent) % extent;
                sum += before[noise.Index(q)];
            }
            values[noise.Index(p)] = sum;
        }
    }
    double mean = 0.0;
    for (const double value : values)
        mean += value / static_cast<double>(values.size());
    return test::ObjectOf(noise.size, [&](const test::Vector& p) { return values[noise.Index(p)] > mean; });
}

void ExpectIsSkeleton(const std::string& id, const StObject& object, const StObject& skeleton,
                      const StObject& anchors) {
    EXPECT_EQ(test::TopologyOf(id, skeleton), test::TopologyOf(id, object));
    for (const test::Vector& p : object.Positions()) {
        ASSERT_LE(skeleton.pixels[skeleton.Index(p)], 1);
        if (object.Has(p) && anchors.Has(p)) {
            ASSERT_TRUE(skeleton.Has(p)) << "an anchor is gone";
        }
        if (!skeleton.Has(p))
            continue;
        ASSERT_TRUE(object.Has(p)) << "outside the object";
        if (!anchors.Has(p)) {
            ASSERT_FALSE(test::IsSimpleByDefinition(id, test::SurroundingsOf(skeleton, p)));
        }
    }
}

// --- thinning

class Thinning : public testing::TestWithParam<std::string> {};
INSTANTIATE_TEST_SUITE_P(, Thinning, testing::ValuesIn(test::c_neighborhoodIds),
                         [](const auto& id) { return id.param; });

TEST_P(Thinning, IsTheOneOfTheDefinitionWithAndWithoutAnchors) {
    for (const unsigned seed : test::CRandomSeeds(1, 61)) {
        std::mt19937 random(seed);
        const StObject object = test::RandomObject(random, 11);
        const std::vector<std::uint32_t> distances = test::SquaredDistancesOf(object);
        // Few, none or many, some of them in the background.
        const unsigned rarity[] = {50, 1000000, 3};
        const StObject anchors = test::ObjectOf(
            object.size, [&](const test::Vector&) { return random() % rarity[seed % 3] == 0; });
        const StObject skeleton = StStages(object).Skeleton(GetParam(), anchors);
        EXPECT_EQ(skeleton.pixels, test::ThinnedByDefinition(GetParam(), object, distances, anchors).pixels);
        ExpectIsSkeleton(GetParam(), object, skeleton, anchors);
    }
}

TEST_P(Thinning, KeepsTheTopologyOfLargerObjects) {
    for (const unsigned seed : test::CRandomSeeds(1, 4)) {
        const StObject object = Foam(seed, 30, static_cast<std::int64_t>(seed));
        StStages stages(object);
        stages.FindAxis();
        ExpectIsSkeleton(GetParam(), object, stages.Skeleton(GetParam()), ObjectOf(*stages.medialAxis));
        const StObject thin = stages.Skeleton(GetParam(), None(object));
        ExpectIsSkeleton(GetParam(), object, thin, None(object));
        EXPECT_LT(PixelCount(thin), PixelCount(object) / 3);
    }
}

TEST_P(Thinning, KeepsTheTopologyOfARealVolume) {
    for (const bool isSolid : {true, false}) {
        const StObject object = Cement(48, isSolid);
        ASSERT_GT(PixelCount(object), 5000);
        StStages stages(object);
        stages.FindAxis();
        ExpectIsSkeleton(GetParam(), object, stages.Skeleton(GetParam()), ObjectOf(*stages.medialAxis));
    }
}

TEST_P(Thinning, ReducesASolidWithoutAnchorsToOnePixelWhateverItsWidths) {
    for (const test::Vector& size : std::vector<test::Vector>{
             {4, 4, 30}, {2, 2, 2}, {9, 8, 7}, {2, 17, 16}, {1, 1, 12}, {12, 1, 12}, {6, 6, 6}}) {
        const StObject solid = test::Solid(size, 1);
        EXPECT_EQ(PixelCount(StStages(solid).Skeleton(GetParam(), None(solid))), 1);
        const StObject whole = test::Solid(size, 0);
        EXPECT_EQ(PixelCount(StStages(whole).Skeleton(GetParam(), None(whole))), 1);
    }
}

TEST_P(Thinning, LeavesAClosedSurfaceOfAHollowSolid) {
    StObject hollow = test::Solid({9, 9, 9}, 1);
    hollow.pixels[hollow.Index({5, 5, 5})] = 0;
    const StObject skeleton = StStages(hollow).Skeleton(GetParam(), None(hollow));
    EXPECT_EQ(test::TopologyOf(GetParam(), skeleton).backgrounds, 2);
    EXPECT_EQ(test::TopologyOf(GetParam(), skeleton).eulerNumber, 2);
}

TEST_P(Thinning, MovesWithTheObjectWhateverLiesAroundIt) {
    for (const unsigned seed : test::CRandomSeeds(1, 21)) {
        std::mt19937 random(seed);
        const StObject object = test::RandomObject(random, 12);
        StStages stages(object);
        StStages padded(test::Padded(object, 3));
        EXPECT_EQ(padded.FindAxis().Skeleton(GetParam()).pixels,
                  test::Padded(stages.FindAxis().Skeleton(GetParam()), 3).pixels);
    }
}

TEST_P(Thinning, ReturnsTheSameTwiceAndWithAnyNumberOfThreads) {
    const StObject object = Foam(5, 24, 2);
    const Bytes expected = SkeletonInOneCall(object, GetParam(), 1, 1.0F).pixels;
    for (const int threadCount : {1, 2, 7}) {
        SetThreadCount(threadCount);
        EXPECT_EQ(SkeletonInOneCall(object, GetParam(), 1, 1.0F).pixels, expected);
    }
    SetThreadCount(0);
}

TEST_P(Thinning, WithWidePlacesIsTheSame) {
    const StObject object = Foam(6, 20, 1);
    StStages stages(object);
    const auto anchors = NewImage(IMAGE_BINARY_FG, SizeOf(object));
    const auto output = UntouchedImage(SizeOf(object));
    ThinByDistance(*stages.image, *stages.squaredDistance, *anchors, *output, GetParam(), stages.progress,
                   EnPlaceSize::WIDE);
    EXPECT_EQ(ObjectOf(*output).pixels, stages.Skeleton(GetParam(), None(object)).pixels);
}

TEST_P(Thinning, AcceptsImagesWithoutPixelsAndWithOne) {
    for (const CSize& size : {CSize(0, 0, 0), CSize(0, 5, 5), CSize(5, 5, 0)}) {
        const auto image = NewImage(IMAGE_BINARY_FG, size);
        const auto output = NewImage(IMAGE_BINARY_FG, size);
        CProgressProxy progress;
        EXPECT_NO_THROW(CSkeletonCouprierZour(nullptr, nullptr)
                            .RunSkeletonCouprierZour(*image, *output, GetParam(), 0, 0.0F, progress, false));
    }
    StObject one(1, 1, 1);
    EXPECT_EQ(SkeletonInOneCall(one, GetParam(), 0, 0.0F).pixels, Bytes{0});
    one.pixels[0] = 1;
    EXPECT_EQ(SkeletonInOneCall(one, GetParam(), 0, 0.0F).pixels, Bytes{1});
    EXPECT_EQ(SkeletonInOneCall(one, GetParam(), 99, 4.0F).pixels, Bytes{1});
    const StObject empty(6, 5, 4);
    EXPECT_EQ(SkeletonInOneCall(empty, GetParam(), 0, 0.0F).pixels, empty.pixels);
}

struct StCounts {
    const char* name;
    StObject object;
    std::vector<std::int64_t> counts; ///< as in `c_neighborhoodIds`
};

TEST(Skeletons, OfSimpleShapesHaveAsManyPixelsAsTheyShould) {
    const StCounts rows[] = {
        {"cube of 5", test::Solid({5, 5, 5}, 1), {25, 21, 24, 24}},
        {"cube of 6", test::Solid({6, 6, 6}, 1), {56, 40, 49, 49}},
        {"bar", test::Solid({9, 3, 3}, 1), {7, 7, 7, 7}},
        {"slab", test::Solid({9, 9, 3}, 1), {49, 49, 49, 49}},
        {"ball of 5", test::Ball(5), {1, 1, 1, 1}},
        {"ball of 50", test::Ball(50), {1, 1, 1, 1}},
        {"ring", Ring(), {44, 40, 44, 44}},
    };
    for (const StCounts& row : rows) {
        StStages stages(row.object);
        stages.FindAxis();
        for (std::size_t i = 0; i < test::c_neighborhoodIds.size(); ++i)
            EXPECT_EQ(PixelCount(stages.Skeleton(test::c_neighborhoodIds[i])), row.counts[i])
                << row.name << ' ' << test::c_neighborhoodIds[i];
    }
}

TEST(Skeletons, OfARingWithoutAnchorsAreClosedCurves) {
    const StObject ring = Ring();
    ASSERT_EQ(PixelCount(ring), 216);
    const std::vector<std::int64_t> counts{24, 20, 22, 22};
    for (std::size_t i = 0; i < test::c_neighborhoodIds.size(); ++i) {
        const std::string& id = test::c_neighborhoodIds[i];
        const StObject curve = StStages(ring).Skeleton(id, None(ring));
        EXPECT_EQ(PixelCount(curve), counts[i]) << id;
        EXPECT_EQ(test::EulerNumber(id, curve), 0) << id;
    }
}

TEST(TopologyOracle, ComputesTheEulerNumbersOfTwoPixels) {
    const auto numbers = [](const test::Vector& first, const test::Vector& second) {
        StObject object(2, 2, 2);
        object.pixels[object.Index(first)] = 1;
        object.pixels[object.Index(second)] = 1;
        std::vector<std::int64_t> found;
        for (const std::string& id : test::c_neighborhoodIds)
            found.push_back(test::EulerNumber(id, object));
        return found;
    };
    // N6, N26, N14_1, N14_2
    EXPECT_EQ(numbers({0, 0, 0}, {1, 1, 1}), (std::vector<std::int64_t>{2, 1, 1, 2}));
    EXPECT_EQ(numbers({1, 0, 0}, {0, 1, 1}), (std::vector<std::int64_t>{2, 1, 2, 1}));
    EXPECT_EQ(numbers({0, 0, 0}, {1, 1, 0}), (std::vector<std::int64_t>{2, 1, 1, 2}));
    EXPECT_EQ(numbers({1, 0, 0}, {0, 1, 0}), (std::vector<std::int64_t>{2, 1, 2, 1}));
    for (const std::string& id : test::c_neighborhoodIds) {
        EXPECT_EQ(test::EulerNumber(id, test::Solid({3, 3, 3}, 0)), 1) << id;
        StObject hollow = test::Solid({3, 3, 3}, 0);
        hollow.pixels[13] = 0;
        EXPECT_EQ(test::EulerNumber(id, hollow), 2) << id;
    }
}

// --- constraint set

TEST(ConstrainedSet, KeepsTheAxisFromARadiusAndAnAngleOn) {
    const StObject object = Foam(7, 20, 2);
    StStages stages(object);
    stages.FindAxis();
    const auto axis = test::PixelsOf<unsigned char>(*stages.medialAxis);
    const auto distances = test::PixelsOf<std::uint32_t>(*stages.squaredDistance);
    const auto angles = test::PixelsOf<float>(*stages.bisector);
    const auto expected = [&](std::int64_t radius, float angle) {
        Bytes kept(axis.size());
        for (std::size_t i = 0; i < axis.size(); ++i)
            kept[i] = axis[i] != 0 && distances[i] >= radius * radius && angles[i] >= angle ? 1 : 0;
        return kept;
    };
    EXPECT_EQ(stages.ConstrainedSet(0, 0.0F).pixels, axis);
    EXPECT_EQ(stages.ConstrainedSet(0, -1.0F).pixels, axis);
    for (const std::int64_t radius : {0, 1, 2, 3}) {
        for (const float angle : {0.0F, 1.0F, 2.0F, std::numbers::pi_v<float>}) {
            EXPECT_EQ(stages.ConstrainedSet(radius, angle).pixels, expected(radius, angle));
            EXPECT_EQ(stages.ConstrainedSet(-radius, angle).pixels, expected(radius, angle));
        }
    }
    const Bytes nothing(axis.size());
    EXPECT_EQ(stages.ConstrainedSet(0, 3.2F).pixels, nothing);
    EXPECT_EQ(stages.ConstrainedSet(0, std::numeric_limits<float>::quiet_NaN()).pixels, nothing);
    for (const std::int64_t radius :
         {std::int64_t{65536}, std::int64_t{1} << 32, std::numeric_limits<std::int64_t>::max(),
          std::numeric_limits<std::int64_t>::min()})
        EXPECT_EQ(stages.ConstrainedSet(radius, 0.0F).pixels, nothing) << radius;
}

// --- all stages in one call

TEST(RunSkeletonCouprierZour, KeepsTheConstraintSet) {
    const StObject object = Foam(8, 24, 2);
    for (const std::string& id : test::c_neighborhoodIds) {
        StStages stages(object);
        stages.FindAxis();
        EXPECT_EQ(SkeletonInOneCall(object, id, 0, 0.0F).pixels, stages.Skeleton(id).pixels) << id;
        EXPECT_EQ(SkeletonInOneCall(object, id, 2, 0.0F).pixels,
                  stages.Skeleton(id, stages.ConstrainedSet(2, 0.0F)).pixels)
            << id;
        const StObject kept = stages.ConstrainedSet(2, 1.5F);
        ASSERT_NE(kept.pixels, ObjectOf(*stages.medialAxis).pixels);
        const StObject skeleton = SkeletonInOneCall(object, id, 2, 1.5F);
        EXPECT_EQ(skeleton.pixels, stages.Skeleton(id, kept).pixels) << id;
        EXPECT_EQ(skeleton.pixels, SkeletonInOneCall(object, id, -2, 1.5F).pixels) << id;
        EXPECT_LT(PixelCount(skeleton), PixelCount(stages.Skeleton(id))) << id;
    }
}

TEST(RunSkeletonCouprierZour, ComputesNoBisectorForAnAngleThatEveryPixelHas) {
    const auto image = test::Ball(9).Image();
    const auto hasBisector = [&](float angle) {
        test::CRecordingProgress sink;
        CProgressProxy progress(&sink);
        const auto output = UntouchedImage(image->Size());
        CSkeletonCouprierZour(nullptr, nullptr)
            .RunSkeletonCouprierZour(*image, *output, "N6", 0, angle, progress, false);
        return std::ranges::any_of(sink.calls,
                                   [](const std::string& call) { return call.ends_with(" bisector"); });
    };
    EXPECT_FALSE(hasBisector(0.0F));
    EXPECT_FALSE(hasBisector(-1.0F));
    EXPECT_TRUE(hasBisector(0.1F));
    EXPECT_TRUE(hasBisector(std::numeric_limits<float>::quiet_NaN())) << "an angle that no pixel has";
}

TEST(RunSkeletonCouprierZour, LeavesAPixelOfAComponentWhoseAxisIsFilteredAway) {
    const StObject ball = test::Ball(20);
    EXPECT_EQ(PixelCount(SkeletonInOneCall(ball, "N26", 100, 0.0F)), 1);
    EXPECT_EQ(PixelCount(SkeletonInOneCall(ball, "N26", std::numeric_limits<std::int64_t>::min(), 4.0F)), 1);
}

TEST(RunSkeletonCouprierZour, CountsEveryByteButZeroAsObject) {
    StObject ball = test::Ball(9);
    const Bytes expected = SkeletonInOneCall(ball, "N26", 0, 0.0F).pixels;
    unsigned char value = 1;
    for (unsigned char& pixel : ball.pixels)
        pixel = pixel != 0 ? (value = static_cast<unsigned char>(value % 255 + 1)) : 0;
    EXPECT_EQ(SkeletonInOneCall(ball, "N26", 0, 0.0F).pixels, expected);
}

TEST(RunSkeletonCouprierZour, CanReplaceItsInput) {
    const StObject object = Foam(8, 24, 2);
    for (const float angle : {0.0F, 1.5F}) {
        const auto image = object.Image();
        CProgressProxy progress;
        CSkeletonCouprierZour(nullptr, nullptr)
            .RunSkeletonCouprierZour(*image, *image, "N26", 2, angle, progress, false);
        EXPECT_EQ(test::PixelsOf<unsigned char>(*image), SkeletonInOneCall(object, "N26", 2, angle).pixels);
    }
}

TEST(RunSkeletonCouprierZour, RefusesAnotherNeighborhoodBeforeItBegins) {
    test::CRecordingProgress sink;
    CProgressProxy progress(&sink);
    const auto image = test::Ball(5).Image();
    const auto output = UntouchedImage(image->Size());
    for (const std::string id : {"", "n6", "N6 ", "N4", "N8", "N14", "Neigh_6", "%1"}) {
        const auto raised = test::Raised<CException>([&] {
            CSkeletonCouprierZour(nullptr, nullptr)
                .RunSkeletonCouprierZour(*image, *output, id, 0, 0.0F, progress, false);
        });
        EXPECT_EQ(std::string(raised.Message()), "Invalid neighborhood id '" + id + "'.");
    }
    EXPECT_TRUE(sink.calls.empty());
}

// --- errors

TEST(EuclideanSkeleton, RefusesImagesThatDoNotFitAndNamesThem) {
    const CSize size(4, 4, 4);
    const auto binary = NewImage(IMAGE_BINARY_FG, size);
    const auto grey = NewImage(IMAGE_GREY_8, size);
    const auto distance = NewImage(IMAGE_GREY_32, size);
    const auto small = NewImage(IMAGE_BINARY_FG, CSize(4, 4, 3));
    const auto flat = NewImage(IMAGE_GREY_32, CSize(4, 4));
    CProgressProxy progress;
    const auto refusal = [&](const IImage& input, const IImage& squaredDistance, const IImage& anchors,
                             IImage& output, const char* id = "N6") {
        const auto raised = test::Raised<CException>([&] {
            CSkeletonCouprierZour(nullptr, nullptr)
                .EuclideanSkeleton(input, squaredDistance, anchors, output, id, progress);
        });
        return std::string(raised.Message());
    };
    EXPECT_EQ(refusal(*grey, *distance, *binary, *binary), "Image type IMAGE_GREY_8 not supported.");
    EXPECT_EQ(refusal(*binary, *grey, *binary, *binary), "Image type IMAGE_GREY_8 not supported.");
    EXPECT_EQ(refusal(*binary, *distance, *grey, *binary), "Image type IMAGE_GREY_8 not supported.");
    EXPECT_EQ(refusal(*binary, *distance, *binary, *grey), "Image type IMAGE_GREY_8 not supported.");
    const std::string misfit = "Image of size (4,4,3) does not fit the distances of size (4,4,4).";
    EXPECT_EQ(refusal(*small, *distance, *binary, *binary), misfit);
    EXPECT_EQ(refusal(*binary, *distance, *small, *binary), misfit);
    EXPECT_EQ(refusal(*binary, *distance, *binary, *small), misfit);
    EXPECT_EQ(refusal(*binary, *flat, *binary, *binary), "Image dimension 2 not supported.");
    EXPECT_EQ(refusal(*binary, *distance, *binary, *binary, "N18"), "Invalid neighborhood id 'N18'.");
    const auto far = test::ImageOf(IMAGE_GREY_32, size, std::vector<std::uint32_t>(64, 5));
    EXPECT_EQ(refusal(*binary, *far, *binary, *binary), "Squared distance 5 in an image of size (4,4,4).");
}

TEST(ConstrainedSet, RefusesImagesThatDoNotFit) {
    const CSize size(4, 4, 4);
    const auto binary = NewImage(IMAGE_BINARY_FG, size);
    const auto distance = NewImage(IMAGE_GREY_32, size);
    const auto angle = NewImage(IMAGE_GREY_F, size);
    const auto small = NewImage(IMAGE_GREY_F, CSize(4, 4, 3));
    CProgressProxy progress;
    const auto refusal = [&](const IImage& axis, const IImage& squaredDistance, const IImage& bisector,
                             IImage& output) {
        const auto raised = test::Raised<CException>([&] {
            CSkeletonCouprierZour(nullptr, nullptr)
                .ConstrainedSet(axis, squaredDistance, bisector, output, 0, 0.0F, progress);
        });
        return std::string(raised.Message());
    };
    EXPECT_EQ(refusal(*angle, *distance, *angle, *binary), "Image type IMAGE_GREY_F not supported.");
    EXPECT_EQ(refusal(*binary, *angle, *angle, *binary), "Image type IMAGE_GREY_F not supported.");
    EXPECT_EQ(refusal(*binary, *distance, *distance, *binary), "Image type IMAGE_GREY_32 not supported.");
    EXPECT_EQ(refusal(*binary, *distance, *angle, *distance), "Image type IMAGE_GREY_32 not supported.");
    EXPECT_EQ(refusal(*binary, *distance, *small, *binary),
              "Image of size (4,4,3) does not fit the distances of size (4,4,4).");
}

TEST(SkeletonLookUpTables, AreThoseOfThePathsWhereThereAreAny) {
    EXPECT_EQ(CSkeletonCouprierZour::MaLut(), "");
    EXPECT_EQ(CSkeletonCouprierZour::BsLut(), "");
    const std::string damaged = testing::TempDir() + "damaged.lut";
    std::ofstream(damaged) << "no table";
    StStages stages(Foam(9, 12, 1));
    for (std::string* path : {&CSkeletonCouprierZour::MaLut(), &CSkeletonCouprierZour::BsLut()}) {
        *path = damaged;
        const auto raised = test::Raised<CException>([&] { stages.FindAxis(); });
        EXPECT_EQ(std::string(raised.Message()).rfind("Look-up table '" + damaged + "' is not usable: ", 0),
                  0U)
            << raised.Message();
        EXPECT_THROW(SkeletonInOneCall(test::Ball(5), "N26", 0, 0.0F), CException)
            << "even if it is not needed";
        path->clear();
    }
    EXPECT_NO_THROW(stages.FindAxis());
    std::filesystem::remove(damaged);
}

// --- cancelling

/// Answers true from a question on.
class CCancelledAt : public test::CRecordingProgress {
public:
    explicit CCancelledAt(int question)
        : m_question(question) {}
    bool IsCancelled() override { return m_asked++ >= m_question; }
    [[nodiscard]] int Asked() const { return m_asked; }

private:
    int m_question;
    std::atomic<int> m_asked{0};
};

void ExpectZerosIfCancelled(const StObject& object, float angle) {
    const auto image = object.Image();
    const Bytes whole = SkeletonInOneCall(object, "N26", 0, angle).pixels;
    const test::CThreadCount threads(1);
    int questions = 1000000;
    for (int question = 0; question < questions; ++question) {
        CCancelledAt sink(question);
        CProgressProxy progress(&sink);
        const auto output = UntouchedImage(image->Size());
        CSkeletonCouprierZour(nullptr, nullptr)
            .RunSkeletonCouprierZour(*image, *output, "N26", 0, angle, progress, false);
        const Bytes result = test::PixelsOf<unsigned char>(*output);
        if (sink.Asked() <= question) { // it was never cancelled
            EXPECT_EQ(result, whole);
            questions = question;
        } else {
            ASSERT_EQ(result, Bytes(result.size())) << question;
            ASSERT_LE(sink.Asked(), question + 8) << "goes on working";
        }
    }
    EXPECT_GT(questions, 3 * 14);
}

TEST(RunSkeletonCouprierZour, CancelledAnywhereLeavesZeros) {
    const StObject object = Foam(10, 14, 1);
    ExpectZerosIfCancelled(object, 0.0F);
    ExpectZerosIfCancelled(object, 1.0F);
}

TEST(EuclideanSkeleton, ReportsItsProgressInOnePhase) {
    test::CRecordingProgress sink;
    CProgressProxy progress(&sink);
    const StObject object = Foam(11, 16, 1);
    StStages stages(object);
    const auto output = UntouchedImage(SizeOf(object));
    const auto anchors = NewImage(IMAGE_BINARY_FG, SizeOf(object));
    stages.algorithm.EuclideanSkeleton(*stages.image, *stages.squaredDistance, *anchors, *output, "N6",
                                       progress);
    ASSERT_FALSE(sink.calls.empty());
    EXPECT_EQ(sink.calls.front(), "Start 48 thinning");
    EXPECT_EQ(sink.calls.back(), "Finish");
    EXPECT_EQ(sink.steps, 48U);
    EXPECT_EQ(std::ranges::count(sink.calls, "Finish"), 1);
    EXPECT_TRUE(sink.isFromOneThread);
}

// --- images given up. What is freed twice, or not at all, shows under the address sanitizer.

std::unique_ptr<IImage> FactoryImage(const IImage::CType& type, const CSize& size) {
    return std::unique_ptr<IImage>(CSorbImageFactory::Obj().Create(type, size));
}

TEST(ImagesGivenUp, AreFreedAtTheEndWhereTheFactoryMadeThem) {
    const CSize size(4, 4, 4);
    const auto binary = NewImage(IMAGE_BINARY_FG, size);
    const auto output = NewImage(IMAGE_BINARY_FG, size);
    const auto distance = NewImage(IMAGE_GREY_32, size);
    CProgressProxy progress;
    CSkeletonCouprierZour algorithm(nullptr, nullptr);
    algorithm.ConstrainedSet(*binary, *distance, *FactoryImage(IMAGE_GREY_F, size).release(), *output, 0,
                             0.0F, progress);
    algorithm.EuclideanSkeleton(*binary, *distance, *FactoryImage(IMAGE_BINARY_FG, size).release(), *output,
                                "N6", progress);
}

TEST(ImagesGivenUp, AreFreedWhenTheCallRaisesOrIsCancelledToo) {
    const CSize size(4, 4, 4);
    const auto binary = NewImage(IMAGE_BINARY_FG, size);
    const auto output = NewImage(IMAGE_BINARY_FG, size);
    const auto distance = NewImage(IMAGE_GREY_32, size);
    CProgressProxy progress;
    CSkeletonCouprierZour algorithm(nullptr, nullptr);
    EXPECT_THROW(algorithm.ConstrainedSet(*binary, *distance, *FactoryImage(IMAGE_GREY_8, size).release(),
                                          *output, 0, 0.0F, progress),
                 CException);
    EXPECT_THROW(algorithm.EuclideanSkeleton(*binary, *distance,
                                             *FactoryImage(IMAGE_BINARY_FG, size).release(), *output, "",
                                             progress),
                 CException);
    CCancelledAt sink(0);
    CProgressProxy cancelled(&sink);
    algorithm.ConstrainedSet(*binary, *distance, *FactoryImage(IMAGE_GREY_F, size).release(), *output, 0,
                             0.0F, cancelled);
    algorithm.EuclideanSkeleton(*binary, *distance, *FactoryImage(IMAGE_BINARY_FG, size).release(), *output,
                                "N6", cancelled);
}

TEST(ImagesGivenUp, OfTheCallersOwnStay) {
    const CSize size(4, 4, 4);
    const CImage axis(IMAGE_BINARY_FG, size, CSize(0, 0, 0));
    const CImage bisector(IMAGE_GREY_F, size, CSize(0, 0, 0));
    const auto distance = FactoryImage(IMAGE_GREY_32, size); // no argument that is given up
    const auto output = FactoryImage(IMAGE_BINARY_FG, size);
    CProgressProxy progress;
    CSkeletonCouprierZour algorithm(nullptr, nullptr);
    algorithm.ConstrainedSet(axis, *distance, bisector, *output, 0, 0.0F, progress);
    algorithm.EuclideanSkeleton(axis, *distance, axis, *output, "N6", progress);
    EXPECT_EQ(test::PixelsOf<unsigned char>(axis), Bytes(64));
    EXPECT_EQ(test::PixelsOf<float>(bisector), std::vector<float>(64));
    EXPECT_EQ(test::PixelsOf<unsigned char>(*output), Bytes(64));
}

} // namespace
