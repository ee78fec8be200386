#include "BasicsTest.h"

#include <sorblib2image/StImageGeometry.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace {

using namespace ORVEN;
using test::Bytes;
using test::CBasicsRun;
using test::Extents;
using test::Floats;
using test::Numbers;
using test::PixelsOf;

std::unique_ptr<CImage> Numbered(const std::vector<std::int64_t>& extents) {
    const CSize size = Extents(extents);
    Bytes pixels(static_cast<std::size_t>(size.PixelCount()));
    for (std::size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = static_cast<unsigned char>(i);
    return test::ImageOf(IMAGE_GREY_8, size, pixels);
}

Numbers SpacingOf(const CImage& image) {
    Numbers spacing;
    for (const char* axis : {"x", "y", "z"})
        spacing.push_back(test::AttributeOf(image, std::string("spacing/") + axis));
    return spacing;
}

TEST(Crop, CutsABoxWithBothCorners) {
    CBasicsRun volume("Crop", Numbered({4, 3, 2}));
    volume.WithWhole("x0", 1).WithWhole("x1", 2).WithWhole("y0", 1).WithWhole("z0", 1);
    EXPECT_EQ(volume.Run(), "crop(x=1..2,y=1..2,z=1..1)");
    EXPECT_EQ(volume.Result().Size(), CSize(2, 2, 1));
    EXPECT_EQ(PixelsOf<unsigned char>(volume.Result()), (Bytes{17, 18, 21, 22}));
    CBasicsRun plane("Crop", Numbered({4, 3}));
    EXPECT_EQ(plane.WithWhole("y1", 0).Run(), "crop(x=0..3,y=0..0)");
    EXPECT_EQ(PixelsOf<unsigned char>(plane.Result()), (Bytes{0, 1, 2, 3}));
    CBasicsRun line("Crop", Numbered({4}));
    EXPECT_EQ(line.WithWhole("x0", 3).Run(), "crop(x=3..3)");
    EXPECT_EQ(line.Result().Size().Dim(), 1);
    EXPECT_EQ(PixelsOf<unsigned char>(line.Result()), (Bytes{3}));
}

TEST(Crop, KeepsSpacingAndLabelsAndMovesTheOrigin) {
    CBasicsRun run("Crop", Numbered({4, 3, 2}));
    CQuillonHeaderTools::SetSpacing(run.Host().Image(), 0.5, 2.0, 3.0);
    CQuillonHeaderTools::SetNumberOfLabels(run.Host().Image(), 24);
    for (const char* axis : {"x", "y", "z"})
        run.Host().Image().Attributes().SetEntry(std::string("origin/") + axis, new CValueDouble(100.0));
    run.WithWhole("x0", 3).WithWhole("z0", 1).Run();
    EXPECT_EQ(SpacingOf(run.Result()), (Numbers{0.5, 2.0, 3.0}));
    EXPECT_EQ(test::AttributeOf(run.Result(), "number of labels"), 24.0);
    EXPECT_EQ(test::AttributeOf(run.Result(), "origin/x"), 101.5);
    EXPECT_EQ(test::AttributeOf(run.Result(), "origin/y"), 100.0);
    EXPECT_EQ(test::AttributeOf(run.Result(), "origin/z"), 103.0);
    EXPECT_EQ(test::AttributeOf(run.Host().Image(), "origin/x"), 100.0);
}

/// A geometry with turned axes.
StImageGeometry Turned() {
    StImageGeometry geometry;
    geometry.spacing = {0.5, 2.0, 3.0};
    geometry.origin = {10.0, 20.0, 30.0};
    geometry.directions = {{{0, 1, 0}, {0, 0, -1}, {-1, 0, 0}}};
    geometry.unit = "mm";
    geometry.isAnatomical = true;
    return geometry;
}

TEST(Crop, LiesOverItsInputWhateverTheDirections) {
    CBasicsRun run("Crop", Numbered({4, 3, 2}));
    Turned().Store(run.Host().Image());
    run.WithWhole("x0", 3).WithWhole("y0", 2).WithWhole("z0", 1).Run();
    StImageGeometry meant = Turned();
    meant.origin = {10.0 - 3.0, 20.0 + 3 * 0.5, 30.0 - 2 * 2.0};
    EXPECT_EQ(StImageGeometry::Of(run.Result()), meant);
}

TEST(Crop, HasAnOriginEvenIfItsInputHasNone) {
    CBasicsRun run("Crop", Numbered({4, 3}));
    run.WithWhole("x0", 3).WithWhole("y0", 1).Run();
    EXPECT_EQ(StImageGeometry::Of(run.Result()).origin, (StImageGeometry::Vector{3, 1, 0}));
    CBasicsRun whole("Crop", Numbered({4, 3}));
    whole.Run();
    EXPECT_FALSE(whole.Result().Attributes().HasEntry("origin"));
}

TEST(Resample, LiesOverItsInputWhateverTheDirections) {
    CBasicsRun run("Resample", Numbered({4, 3, 2}));
    Turned().Store(run.Host().Image());
    run.With("factor", 2).Run();
    const StImageGeometry found = StImageGeometry::Of(run.Result());
    EXPECT_EQ(found.spacing, (StImageGeometry::Vector{0.25, 1.0, 1.5}));
    EXPECT_EQ(found.directions, Turned().directions);
    // The corners of the first pixels coincide.
    EXPECT_EQ(found.PositionOf({-0.5, -0.5, -0.5}), Turned().PositionOf({-0.5, -0.5, -0.5}));
    EXPECT_EQ(found.PositionOf({7.5, 5.5, 3.5}), Turned().PositionOf({3.5, 2.5, 1.5}));
}

TEST(Crop, RefusesPlacesBeyondTheBorderWithTheLimit) {
    const auto refusal = [](const char* key, std::int32_t value) {
        return CBasicsRun("Crop", Numbered({4, 3})).WithWhole(key, value).Refusal();
    };
    EXPECT_EQ(refusal("x1", 300), "Crop: x1 = 300 lies beyond the last column, 3.");
    EXPECT_EQ(refusal("y0", 3), "Crop: y0 = 3 lies beyond the last row, 2.");
    EXPECT_EQ(refusal("z1", 1), "Crop: z1 = 1 lies beyond the last plane, 0.");
    EXPECT_EQ(refusal("z0", 0), "nothing");
    EXPECT_EQ(refusal("x0", -1), "Crop: x0 = -1 lies before the first column, 0.");
    CBasicsRun crossed("Crop", Numbered({4, 3}));
    crossed.WithWhole("x0", 3).WithWhole("x1", 1);
    EXPECT_EQ(crossed.Refusal(), "Crop: x0 = 3 must not be greater than x1 = 1.");
}

TEST(Median, TakesTheMiddleOfTheBoxAndRepeatsTheBorder) {
    CBasicsRun run("Median", test::ImageOf<unsigned char>(IMAGE_GREY_8, Extents({5}), {9, 1, 5, 200, 3}));
    EXPECT_EQ(run.Run(), "median(radius=1)");
    EXPECT_EQ(PixelsOf<unsigned char>(run.Result()), (Bytes{9, 5, 5, 5, 3}));
    EXPECT_EQ(run.WithWhole("radius", 0).Run(), "median(radius=0)");
    EXPECT_EQ(PixelsOf<unsigned char>(run.Result()), (Bytes{9, 1, 5, 200, 3}));
}

TEST(Median, IsTheMiddleOfTheSortedBoxInEveryDimension) {
    std::mt19937 random(8);
    for (const auto& extents : {std::vector<std::int64_t>{9}, {7, 5}, {5, 4, 6}, {4, 1, 3}}) {
        for (const int radius : {1, 2}) {
            const auto image = test::RandomImage<float>(IMAGE_GREY_F, Extents(extents), random, -9, 9);
            const CImageView<const float> view(*image);
            CBasicsRun run("Median", test::ImageOf(IMAGE_GREY_F, Extents(extents), PixelsOf<float>(*image)));
            run.WithWhole("radius", radius).Run();
            Floats expected;
            for (std::int64_t z = 0; z < view.nz; ++z) {
                for (std::int64_t y = 0; y < view.ny; ++y) {
                    for (std::int64_t x = 0; x < view.nx; ++x) {
                        Floats box;
                        for (std::int64_t dz = -radius; dz <= radius; ++dz) {
                            for (std::int64_t dy = -radius; dy <= radius; ++dy) {
                                for (std::int64_t dx = -radius; dx <= radius; ++dx)
                                    box.push_back(view.Row(
                                        std::clamp<std::int64_t>(y + dy, 0, view.ny - 1),
                                        std::clamp<std::int64_t>(
                                            z + dz, 0,
                                            view.nz - 1))[std::clamp<std::int64_t>(x + dx, 0, view.nx - 1)]);
                            }
                        }
                        std::ranges::sort(box);
                        expected.push_back(box[box.size() / 2]);
                    }
                }
            }
            EXPECT_EQ(PixelsOf<float>(run.Result()), expected);
        }
    }
}

TEST(Median, KeepsEveryTypeAndSortsNanFirst) {
    CBasicsRun words("Median",
                     test::ImageOf<std::uint32_t>(IMAGE_GREY_32, Extents({3}), {4000000000U, 1, 7}));
    words.Run();
    EXPECT_EQ(PixelsOf<std::uint32_t>(words.Result()), (std::vector<std::uint32_t>{4000000000U, 7, 7}));
    CBasicsRun binary("Median", test::ImageOf<unsigned char>(IMAGE_BINARY_FG, Extents({3}), {0, 1, 0}));
    binary.Run();
    EXPECT_EQ(binary.Result().Type(), IMAGE_BINARY_FG);
    EXPECT_EQ(PixelsOf<unsigned char>(binary.Result()), (Bytes{0, 0, 0}));
    CBasicsRun floats("Median", test::ImageOf<float>(IMAGE_GREY_F, Extents({3}), {-5.0F, NAN, 8.0F}));
    floats.Run();
    EXPECT_EQ(PixelsOf<float>(floats.Result())[1], -5.0F);
}

TEST(Median, RefusesARadiusOutOfRange) {
    EXPECT_EQ(CBasicsRun("Median", Numbered({3})).WithWhole("radius", -1).Refusal(),
              "Median: radius = -1 must be from 0 to 50 pixels.");
    EXPECT_EQ(CBasicsRun("Median", Numbered({3})).WithWhole("radius", 51).Refusal(),
              "Median: radius = 51 must be from 0 to 50 pixels.");
}

TEST(Resample, DoublesAndHalvesWithTheNearestPixel) {
    CBasicsRun larger("Resample", test::ImageOf<unsigned char>(IMAGE_BINARY_FG, Extents({3}), {1, 0, 1}));
    EXPECT_EQ(larger.With("factor", 2).Run(), "resample(factor=2,nearest)");
    EXPECT_EQ(PixelsOf<unsigned char>(larger.Result()), (Bytes{1, 1, 0, 0, 1, 1}));
    EXPECT_EQ(SpacingOf(larger.Result())[0], 0.5);
    CBasicsRun smaller("Resample", Numbered({6}));
    smaller.With("factor", 1.0 / 3.0).WithText("interpolation", "nearest").Run();
    EXPECT_EQ(PixelsOf<unsigned char>(smaller.Result()), (Bytes{1, 4}));
}

TEST(Resample, InterpolatesLinearlyBetweenCentresAndRepeatsTheBorder) {
    CBasicsRun run("Resample", test::ImageOf<float>(IMAGE_GREY_F, Extents({2}), {0.0F, 4.0F}));
    EXPECT_EQ(run.With("factor", 2).Run(), "resample(factor=2,linear)");
    EXPECT_EQ(PixelsOf<float>(run.Result()), (Floats{0.0F, 1.0F, 3.0F, 4.0F}));
    CBasicsRun rounded("Resample", test::ImageOf<unsigned char>(IMAGE_GREY_8, Extents({2}), {0, 2}));
    rounded.With("factor", 2).Run();
    EXPECT_EQ(PixelsOf<unsigned char>(rounded.Result()), (Bytes{0, 1, 2, 2})); // 0.5 and 1.5 are rounded up
}

TEST(Resample, ASplineReproducesACubicAwayFromTheBorder) {
    Floats pixels(40);
    const auto cubic = [](double x) { return 0.001 * x * x * x - 0.03 * x * x + x; };
    for (std::size_t x = 0; x < pixels.size(); ++x)
        pixels[x] = static_cast<float>(cubic(static_cast<double>(x)));
    CBasicsRun run("Resample", test::ImageOf(IMAGE_GREY_F, Extents({40}), pixels));
    EXPECT_EQ(run.With("factor", 3).WithText("interpolation", "bspline").Run(), "resample(factor=3,bspline)");
    const Floats result = PixelsOf<float>(run.Result());
    ASSERT_EQ(result.size(), 120U);
    for (std::size_t i = 45; i < 75; ++i) {
        const double x = (static_cast<double>(i) + 0.5) / 3.0 - 0.5;
        EXPECT_NEAR(result[i], cubic(x), 1e-4);
    }
}

TEST(Resample, ASplineOfTheSameSizeIsTheImage) {
    for (const auto& extents : {std::vector<std::int64_t>{5}, {5, 1}, {4, 3, 2}, {1, 1, 1}}) {
        CBasicsRun run("Resample", Numbered(extents));
        run.With("factor", 1).WithText("interpolation", "bspline").Run();
        EXPECT_EQ(PixelsOf<unsigned char>(run.Result()), PixelsOf<unsigned char>(run.Host().Image()));
    }
}

TEST(Resample, MakesPixelsCubic) {
    CBasicsRun run("Resample", Numbered({4, 3, 2}));
    CQuillonHeaderTools::SetSpacing(run.Host().Image(), 1.0, 1.0, 2.0);
    run.Host().Image().Attributes().SetEntry("origin/z", new CValueDouble(10.0));
    EXPECT_EQ(run.With("spacing", 1).Run(), "resample(spacing=1,linear)");
    EXPECT_EQ(run.Result().Size(), CSize(4, 3, 4));
    EXPECT_EQ(SpacingOf(run.Result()), (Numbers{1.0, 1.0, 1.0}));
    EXPECT_EQ(test::AttributeOf(run.Result(), "origin/z"), 9.5); // the same edge
    const Bytes planes = PixelsOf<unsigned char>(run.Result());
    EXPECT_EQ((Bytes{planes[0], planes[12], planes[24], planes[36]}), (Bytes{0, 3, 9, 12}));
    run.With("spacing", 4).Run();
    EXPECT_EQ(run.Result().Size(), CSize(1, 1, 1));
}

TEST(Resample, LabelsStayLabels) {
    CBasicsRun run("Resample", Numbered({3}));
    CQuillonHeaderTools::SetNumberOfLabels(run.Host().Image(), 3);
    EXPECT_EQ(run.With("factor", 2).Run(), "resample(factor=2,nearest)");
    EXPECT_EQ(test::AttributeOf(run.Result(), "number of labels"), 3.0);
    EXPECT_EQ(run.WithText("interpolation", "linear").Run(), "resample(factor=2,linear)");
    EXPECT_FALSE(run.Result().Attributes().HasEntry("number of labels"));
}

TEST(Resample, RefusesWhatItCannotDo) {
    CBasicsRun run("Resample", Numbered({4, 3}));
    EXPECT_EQ(run.Refusal(), "Resample: spacing and factor are both missing.");
    run.With("factor", 0);
    EXPECT_EQ(run.Refusal(), "Resample: factor = 0 must be greater than 0.");
    run.With("spacing", 1);
    EXPECT_EQ(run.Refusal(), "Resample: spacing and factor are both given.");
    run.Host().Tree().RemoveEntry("parameters");
    run.With("factor", 2).WithText("interpolation", "cubic");
    EXPECT_EQ(run.Refusal(), "Resample: interpolation = cubic must be nearest, linear or bspline.");
    run.Host().Tree().RemoveEntry("parameters");
    run.With("factor", 1e9);
    EXPECT_EQ(run.Refusal(), "Resample: factor = 1000000000 would make an image of more than 10^12 pixels.");
    CQuillonHeaderTools::SetSpacing(run.Host().Image(), 1.0, -2.0, 1.0);
    EXPECT_EQ(run.Refusal(),
              "Resample: the image has the spacing -2 along an axis; it must be greater than 0.");
}

} // namespace
