// Distances, morphology with balls and the cylinder on real images.

#include "cli/realimages/RealImageRuns.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;
using namespace test;

TEST(RealImages, CylinderMaskCutsACoreOutOfAScan) {
    const StRun run = RunOnFile("CylinderMask", "cement_pores_128.nrrd",
                                {"axis=Y", "s=60", "t=64", "radius=50", "crop=true"});
    EXPECT_EQ(HistoryOf(*run.image),
              std::vector<std::string>{"cylinderMask(axis=Y, s=60, t=64, radius=50, cropped)"});
    ASSERT_EQ(run.image->Size(), CSize(101, 128, 101));
    const auto scan = engine::ReadImage(DataFile("cement_pores_128.nrrd"));
    const CImageView<const unsigned char> before(*scan);
    const CImageView<const unsigned char> after(*run.image);
    for (std::int64_t z = 0; z < after.nz; ++z) {
        for (std::int64_t y = 0; y < after.ny; ++y) {
            for (std::int64_t x = 0; x < after.nx; ++x) {
                const bool isInside = (x - 50) * (x - 50) + (z - 50) * (z - 50) <= 2500;
                ASSERT_EQ(after.Row(y, z)[x], isInside ? before.Row(y, z + 14)[x + 10] : 0);
            }
        }
    }
}

TEST_F(CementSolid, VoronoiEdtMeasuresDistancesThatAgreeWithTheirNeighbours) {
    const StRun run = Run("VoronoiEdtPlugin", {"ComputeOn=foreground"});
    EXPECT_EQ(run.image->Type(), IMAGE_GREY_F);
    EXPECT_EQ(HistoryOf(*run.image).back(), "EdtVoronoi(exact,fg,NET,on cylindrical mask)");
    const CImageView<const unsigned char> solid(*m_solid);
    const CImageView<const float> distance(*run.image);
    float greatest = 0;
    float steepest = 0;
    for (std::int64_t z = 0; z < distance.nz; ++z) {
        for (std::int64_t y = 0; y < distance.ny; ++y) {
            for (std::int64_t x = 0; x < distance.nx; ++x) {
                const float here = distance.Row(y, z)[x];
                ASSERT_EQ(here >= 1.0F, solid.Row(y, z)[x] == 1);
                greatest = std::max(greatest, here);
                if (x > 0)
                    steepest = std::max(steepest, std::abs(here - distance.Row(y, z)[x - 1]));
                if (z > 0)
                    steepest = std::max(steepest, std::abs(here - distance.Row(y, z - 1)[x]));
            }
        }
    }
    EXPECT_GT(greatest, 5.0F);
    EXPECT_LE(steepest, 1.00001F);
}

TEST_F(CementSolid, VoronoiEdtKeepsToTheCylinderThatCylinderMaskLeftInTheFile) {
    const std::string core = m_folder / "core.nrrd";
    const StRun cut = RunOnPath("CylinderMask", Path(), core, {"axis=Z", "s=60.5", "t=64", "radius=40"});
    const auto measure = [&](const std::string& usesCylinder) {
        return RunOnPath("VoronoiEdtPlugin", core, m_folder / "out.nrrd",
                         {"ComputeOn=background", usesCylinder});
    };
    const StRun kept = measure("use cylindrical mask=true");
    const StRun whole = measure("use cylindrical mask=false");
    EXPECT_EQ(
        HistoryOf(*whole.image),
        (std::vector<std::string>{"Niblack(w=20,c=-0.8)", "cylinderMask(axis=Z, s=60.5, t=64, radius=40)",
                                  "EdtVoronoi(exact,bg,NET)"}));
    const CImageView<const float> inside(*kept.image);
    const CImageView<const float> everywhere(*whole.image);
    std::int64_t outsideCount = 0;
    for (std::int64_t z = 0; z < inside.nz; ++z) {
        for (std::int64_t y = 0; y < inside.ny; ++y) {
            for (std::int64_t x = 0; x < inside.nx; ++x) {
                const double fromAxis = static_cast<double>(x) - 60.5;
                const bool isInside = fromAxis * fromAxis + static_cast<double>((y - 64) * (y - 64)) <= 1600;
                // What is outside was background already, so that distances inside are the same.
                ASSERT_EQ(inside.Row(y, z)[x], isInside ? everywhere.Row(y, z)[x] : 0);
                outsideCount += !isInside && everywhere.Row(y, z)[x] > 0 ? 1 : 0;
            }
        }
    }
    EXPECT_GT(outsideCount, 1000000);
}

TEST_F(CementSolid, LinearDtIsNeverBelowTheEuclideanDistance) {
    const auto distances = test::PixelsOf<float>(*Run("VoronoiEdtPlugin", {"ComputeOn=foreground"}).image);
    std::vector<float> least(distances.size(), 1000.0F);
    for (const std::string direction : {"x", "y", "z"}) {
        const StRun run = Run("LinearDt", {"direction=" + direction, "compute on foreground=true"});
        EXPECT_EQ(HistoryOf(*run.image).back(), "LinearDt(" + direction + ",exact,fg,NET)");
        const auto linear = test::PixelsOf<float>(*run.image);
        for (std::size_t i = 0; i < least.size(); ++i) {
            // 0 in the solid is a line without a pore.
            if (linear[i] > 0 || distances[i] == 0)
                least[i] = std::min(least[i], linear[i]);
        }
    }
    std::int64_t equal = 0;
    for (std::size_t i = 0; i < least.size(); ++i) {
        ASSERT_GE(least[i], distances[i]);
        equal += least[i] == distances[i] ? 1 : 0;
    }
    EXPECT_GT(equal, 500000); // the nearest pore of many a pixel lies along an axis
}

TEST_F(CementSolid, SphericalMorphologyOpensAndClosesInOrder) {
    const auto pixelsAfter = [&](const std::string& operation) {
        const StRun run = Run("SphericalMorphology", {"operation=" + operation, "radius=2"});
        EXPECT_EQ(run.image->Type(), IMAGE_BINARY_FG);
        EXPECT_EQ(HistoryOf(*run.image).back(), "morph(spherical,op=" + operation + ",r=2)");
        return test::PixelsOf<unsigned char>(*run.image);
    };
    const auto eroded = pixelsAfter("erosion");
    const auto opened = pixelsAfter("opening");
    const auto solid = test::PixelsOf<unsigned char>(*m_solid);
    const auto closed = pixelsAfter("closing");
    const auto dilated = pixelsAfter("dilation");
    std::int64_t removed = 0;
    std::int64_t filled = 0;
    for (std::size_t i = 0; i < solid.size(); ++i) {
        ASSERT_LE(eroded[i], opened[i]);
        ASSERT_LE(opened[i], solid[i]);
        ASSERT_LE(solid[i], closed[i]);
        ASSERT_LE(closed[i], dilated[i]);
        removed += solid[i] - opened[i];
        filled += closed[i] - solid[i];
    }
    EXPECT_GT(removed, 10000);
    EXPECT_GT(filled, 10000);
}

} // namespace
