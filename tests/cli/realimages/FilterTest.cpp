// Filters on real images.

#include "cli/realimages/RealImageRuns.h"

#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;
using namespace test;

TEST(RealImages, GaussFilterSmoothsAScanAndKeepsItsMean) {
    const StRun run = RunOnFile("GaussFilter", "cement_pores_128.nrrd", {"sigma=2"});
    EXPECT_EQ(run.image->Type(), IMAGE_GREY_F);
    EXPECT_EQ(HistoryOf(*run.image), std::vector<std::string>{"gaussian(sigma=2)"});
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    EXPECT_TRUE(CQuillonHeaderTools::GetSpacing(*run.image, x, y, z)); // the file has none
    EXPECT_EQ(z, 1.0);
    const auto before = test::PixelsOf<unsigned char>(*engine::ReadImage(DataFile("cement_pores_128.nrrd")));
    const auto after = test::PixelsOf<float>(*run.image);
    const auto roughness = [](const auto& pixels) {
        double sum = 0.0;
        for (std::size_t i = 1; i < pixels.size(); ++i)
            sum += std::abs(static_cast<double>(pixels[i]) - static_cast<double>(pixels[i - 1]));
        return sum;
    };
    const auto mean = [](const auto& pixels) {
        double sum = 0.0;
        for (const auto pixel : pixels)
            sum += static_cast<double>(pixel);
        return sum / static_cast<double>(pixels.size());
    };
    EXPECT_NEAR(mean(after), mean(before), 0.5); // pixels of the border count for more than others
    EXPECT_LT(roughness(after), roughness(before) / 2.0);
}

TEST(RealImages, PartialDerivativeOfASliceIsTheHalfDifferenceOfItsNeighbours) {
    const StRun run =
        RunOnFile("PartialDerivative", "fibres_polymer_crop_f32.tif", {"orderx=1", "ordery=0", "orderz=0"});
    EXPECT_EQ(HistoryOf(*run.image), std::vector<std::string>{"partderiv(1,0,0)"});
    const auto slice = engine::ReadImage(DataFile("fibres_polymer_crop_f32.tif"));
    ASSERT_EQ(run.image->Size(), slice->Size());
    const CImageView<const float> before(*slice);
    const CImageView<const float> after(*run.image);
    for (std::int64_t y = 0; y < after.ny; ++y) {
        for (std::int64_t x = 1; x + 1 < after.nx; ++x)
            ASSERT_FLOAT_EQ(after.Row(y, 0)[x], (before.Row(y, 0)[x + 1] - before.Row(y, 0)[x - 1]) / 2.0F);
    }
}

} // namespace
