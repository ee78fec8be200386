// Skeletons, medial axes and local topology on real images.

#include "cli/realimages/RealImageRuns.h"

#include <sorblib2core/CValueVector.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;
using namespace test;

/// Counts of foreground around a pixel and itself, which has all 27 inside the image.
int CountForeground(const CImageView<const unsigned char>& pixels, std::int64_t x, std::int64_t y,
                    std::int64_t z) {
    int count = 0;
    for (std::int64_t step = 0; step < 27; ++step)
        count += pixels.Row(y + step / 3 % 3 - 1, z + step / 9 - 1)[x + step % 3 - 1] != 0 ? 1 : 0;
    return count;
}

TEST_F(CementSolid, MarkSimplePointsMarksMostOfTheSurfaceOnly) {
    const StRun run = Run("MarkSimplePoints", {"Neighborhood=N26"});
    ASSERT_EQ(run.image->Type(), IMAGE_GREY_8);
    EXPECT_EQ(HistoryOf(*run.image), (std::vector<std::string>{"Niblack(w=20,c=-0.8)", "simplepoints(N26)"}));
    std::size_t labelCount = 0;
    ASSERT_TRUE(CQuillonHeaderTools::GetNumberOfLabels(*run.image, labelCount));
    EXPECT_EQ(labelCount, 255U);
    const CImageView<const unsigned char> solid(*m_solid);
    const CImageView<const unsigned char> marks(*run.image);
    std::int64_t surface = 0;
    std::int64_t marked = 0;
    for (std::int64_t z = 1; z < 127; ++z) {
        for (std::int64_t y = 1; y < 127; ++y) {
            for (std::int64_t x = 1; x < 127; ++x) {
                const int pixel = solid.Row(y, z)[x];
                const int mark = marks.Row(y, z)[x];
                // With N26 for the solid, pores are those that touch it with a face.
                const bool isInside = solid.Row(y, z)[x - 1] == 1 && solid.Row(y, z)[x + 1] == 1 &&
                                      solid.Row(y - 1, z)[x] == 1 && solid.Row(y + 1, z)[x] == 1 &&
                                      solid.Row(y, z - 1)[x] == 1 && solid.Row(y, z + 1)[x] == 1;
                const bool isSurface = pixel == 1 && !isInside;
                ASSERT_TRUE(mark == pixel || (mark == 255 && isSurface));
                surface += isSurface ? 1 : 0;
                marked += mark == 255 ? 1 : 0;
            }
        }
    }
    EXPECT_GT(marked, surface * 2 / 3);
    EXPECT_LT(marked, surface);
}

TEST_F(CementSolid, LocalEulerNumberIs1InTheSolidAnd0InThePores) {
    const StRun run = Run("LocalEulerNumber", {"Neighborhood=N6"});
    ASSERT_EQ(run.image->Type(), IMAGE_GREY_F);
    EXPECT_EQ(HistoryOf(*run.image),
              (std::vector<std::string>{"Niblack(w=20,c=-0.8)", "localeulernumber(N6)"}));
    const CImageView<const unsigned char> solid(*m_solid);
    const CImageView<const float> figures(*run.image);
    for (std::int64_t z = 1; z < 127; ++z) {
        for (std::int64_t y = 1; y < 127; ++y) {
            for (std::int64_t x = 1; x < 127; ++x) {
                const int count = CountForeground(solid, x, y, z);
                if (count == 0 || count == 27) {
                    ASSERT_EQ(figures.Row(y, z)[x], count == 27 ? 1.0F : 0.0F);
                }
            }
        }
    }
    const auto pixels = test::PixelsOf<float>(*run.image);
    const auto [least, greatest] = std::ranges::minmax(pixels);
    EXPECT_LT(least, 0.0F);
    EXPECT_GT(greatest, 1.0F);
    CValueVector recorded;
    ASSERT_TRUE(
        CQuillonHeaderTools::GetMetaInfo(*run.image, CQuillonHeaderTools::c_sMetaMinMax.c_str(), recorded));
    ASSERT_EQ(recorded.Size(), 2U);
    EXPECT_EQ(recorded[0]->Double(), double{least});
    EXPECT_EQ(recorded[1]->Double(), double{greatest});
}

/// A skeleton of bone, which must lie in the bone and be thin.
StRun BoneSkeleton(const std::string& plugin, const std::vector<std::string>& parameters) {
    const test::CTestFolder folder;
    const std::string mask = folder / "bone.nrrd";
    EXPECT_EQ(
        test::Quillon({"convert", DataFile("bone_trabecular_crop_bin.nrrd"), mask, "--as", "binary"}).status,
        0);
    StRun run = RunOnPath(plugin, mask, folder / "out.nrrd", parameters);
    EXPECT_EQ(run.image->Type(), IMAGE_BINARY_FG);
    EXPECT_EQ(run.image->Size(), CSize(128, 96, 36));
    const auto bone = test::PixelsOf<unsigned char>(*engine::ReadImage(mask));
    const auto skeleton = test::PixelsOf<unsigned char>(*run.image);
    std::int64_t outside = 0;
    for (std::size_t i = 0; i < bone.size(); ++i)
        outside += skeleton[i] != 0 && bone[i] == 0 ? 1 : 0;
    EXPECT_EQ(outside, 0);
    EXPECT_GT(ForegroundOf(*run.image), 0.002);
    EXPECT_LT(ForegroundOf(*run.image), 0.014); // a tenth of the bone
    return run;
}

TEST(RealImages, SkeletonLeavesTheLinesOfBone) {
    const StRun run = BoneSkeleton("Skeleton", {"minRadius=2", "minAngle=2.9"});
    EXPECT_EQ(HistoryOf(*run.image), std::vector<std::string>{"skeleton(topol,N26,r=2.9,a=2)"});
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    ASSERT_TRUE(CQuillonHeaderTools::GetSpacing(*run.image, x, y, z));
    EXPECT_EQ(z, 0.0195);
}

TEST(RealImages, EuclideanSkeletonLeavesTheLinesOfBone) {
    const StRun run = BoneSkeleton("EuclideanSkeleton", {"minRadius=4"});
    EXPECT_EQ(HistoryOf(*run.image), std::vector<std::string>{"skeleton(euclidean,N26,r=0,a=4)"});
}

/// The mask of bone, and one plug-in run on it.
struct StBoneRun {
    explicit StBoneRun(const std::string& plugin, const std::vector<std::string>& parameters = {}) {
        const std::string mask = folder / "bone.nrrd";
        EXPECT_EQ(
            test::Quillon({"convert", DataFile("bone_trabecular_crop_bin.nrrd"), mask, "--as", "binary"})
                .status,
            0);
        bone = engine::ReadImage(mask);
        run = RunOnPath(plugin, mask, folder / "out.nrrd", parameters);
    }

    const test::CTestFolder folder;
    std::unique_ptr<CImage> bone;
    StRun run;
};

TEST(RealImages, TheBallsOfTheExactMedialAxisRestoreBone) {
    const StBoneRun bone("ExactMedialAxis");
    EXPECT_EQ(HistoryOf(*bone.run.image), std::vector<std::string>{"medialaxis(exact,r=0)"});
    EXPECT_GT(ForegroundOf(*bone.run.image), 0.01);
    EXPECT_LT(ForegroundOf(*bone.run.image), 0.05);

    const CImageView<const unsigned char> object(*bone.bone);
    const CImageView<const unsigned char> axis(*bone.run.image);
    CImage painted(IMAGE_BINARY_FG, bone.bone->Size(), CSize(0, 0, 0));
    const CImageView<unsigned char> balls(painted);
    const auto isObject = [&object](std::int64_t x, std::int64_t y, std::int64_t z) {
        return x >= 0 && x < object.nx && y >= 0 && y < object.ny && z >= 0 && z < object.nz &&
               object.Row(y, z)[x] != 0;
    };
    // All vectors by length: the first to the background ends the ball, those before are in it.
    struct StStep {
        std::int64_t square, x, y, z;
    };
    std::vector<StStep> steps;
    constexpr std::int64_t reach = 12;
    for (std::int64_t z = -reach; z <= reach; ++z) {
        for (std::int64_t y = -reach; y <= reach; ++y) {
            for (std::int64_t x = -reach; x <= reach; ++x)
                steps.push_back({x * x + y * y + z * z, x, y, z});
        }
    }
    std::ranges::sort(steps, {}, &StStep::square);
    for (std::int64_t z = 0; z < axis.nz; ++z) {
        for (std::int64_t y = 0; y < axis.ny; ++y) {
            for (std::int64_t x = 0; x < axis.nx; ++x) {
                if (axis.Row(y, z)[x] == 0)
                    continue;
                const auto end = std::ranges::find_if(
                    steps, [&](const StStep& step) { return !isObject(x + step.x, y + step.y, z + step.z); });
                ASSERT_LT(end->square, reach * reach);
                for (auto step = steps.begin(); step->square < end->square; ++step)
                    balls.Row(y + step->y, z + step->z)[x + step->x] = 1;
            }
        }
    }
    EXPECT_EQ(test::PixelsOf<unsigned char>(painted), test::PixelsOf<unsigned char>(*bone.bone));
}

TEST(RealImages, ExactMedialAxisFromARadiusOnIsAPartOfIt) {
    const StBoneRun all("ExactMedialAxis");
    const StBoneRun thick("ExactMedialAxis", {"minRadius=4"});
    EXPECT_EQ(HistoryOf(*thick.run.image), std::vector<std::string>{"medialaxis(exact,r=4)"});
    const auto allPixels = test::PixelsOf<unsigned char>(*all.run.image);
    const auto thickPixels = test::PixelsOf<unsigned char>(*thick.run.image);
    EXPECT_TRUE(std::ranges::equal(thickPixels, allPixels, std::ranges::less_equal()));
    EXPECT_GT(ForegroundOf(*thick.run.image), 0.0005);
    EXPECT_LT(ForegroundOf(*thick.run.image), ForegroundOf(*all.run.image) / 4);
}

TEST(RealImages, ExactBisectorIsLargerOnTheAxisOfBoneThanElsewhere) {
    const StBoneRun bisector("ExactBisector");
    const StBoneRun axis("ExactMedialAxis");
    EXPECT_EQ(HistoryOf(*bisector.run.image), std::vector<std::string>{"Bisector(exact,r=0,a=0)"});
    EXPECT_EQ(bisector.run.image->Type(), IMAGE_GREY_F);
    const auto object = test::PixelsOf<unsigned char>(*bisector.bone);
    const auto angles = test::PixelsOf<float>(*bisector.run.image);
    const auto marks = test::PixelsOf<unsigned char>(*axis.run.image);
    double onAxis = 0.0;
    double elsewhere = 0.0;
    std::int64_t axisCount = 0;
    std::int64_t otherCount = 0;
    for (std::size_t i = 0; i < angles.size(); ++i) {
        ASSERT_GE(angles[i], 0.0F);
        ASSERT_LE(angles[i], 3.1415927F);
        ASSERT_TRUE(object[i] != 0 || angles[i] == 0.0F);
        (marks[i] != 0 ? onAxis : elsewhere) += angles[i];
        axisCount += marks[i];
        otherCount += object[i] != 0 && marks[i] == 0 ? 1 : 0;
    }
    // Bars of a few pixels are hardly farther from their walls elsewhere.
    EXPECT_GT(onAxis / static_cast<double>(axisCount), elsewhere / static_cast<double>(otherCount) + 0.4);
}

} // namespace
