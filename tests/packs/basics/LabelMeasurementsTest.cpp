#include "BasicsTest.h"

#include "support/DialogAnswers.h"
#include "support/QtTest.h"

#include <QuillonUtils/ObjectBasedFeatures.h>

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <string>

#include <unistd.h>

namespace {

using namespace ORVEN;
using test::AttributeOf;
using test::CBasicsRun;
using test::Extents;

const std::string c_path = "features/LabelMeasurements/";

/// A measured image.
class CMeasured : public CBasicsRun {
public:
    explicit CMeasured(std::unique_ptr<CImage> image)
        : CBasicsRun("LabelMeasurements", std::move(image)) {}

    double Of(const std::string& object, const std::string& feature) {
        return AttributeOf(Host().Image(), c_path + "object " + object + "/" + feature);
    }
};

TEST(LabelMeasurements, OfAPlaneByHand) {
    CMeasured run(test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(5, 3),
                                               {0, 2, 2, 2, 0, //
                                                0, 2, 2, 2, 0, //
                                                7, 0, 0, 0, 0}));
    CQuillonHeaderTools::SetSpacing(run.Host().Image(), 0.5, 2.0, 1.0);
    run.Run();
    EXPECT_EQ(run.Host().DocumentCount(), 0U);
    EXPECT_EQ(run.Of("2", "voxels"), 6.0);
    EXPECT_EQ(run.Of("2", "area"), 6.0);
    EXPECT_EQ(run.Of("2", "centroid/x"), 1.0);
    EXPECT_EQ(run.Of("2", "centroid/y"), 1.0);
    EXPECT_EQ(run.Of("2", "bounding box/x0"), 1.0);
    EXPECT_EQ(run.Of("2", "bounding box/x1"), 3.0);
    EXPECT_EQ(run.Of("2", "bounding box/y1"), 1.0);
    // A box of 1.5 x 4: variances a^2 / 12, and an ellipse has the axes 4 sigma.
    EXPECT_NEAR(run.Of("2", "axis 1/length"), 4.0 * 4.0 / std::sqrt(12.0), 1e-12);
    EXPECT_NEAR(run.Of("2", "axis 2/length"), 4.0 * 1.5 / std::sqrt(12.0), 1e-12);
    EXPECT_EQ(run.Of("2", "axis 1/x"), 0.0);
    EXPECT_EQ(run.Of("2", "axis 1/y"), 1.0);
    EXPECT_NEAR(run.Of("2", "Feret diameter"), std::hypot(1.0, 2.0), 1e-12);
    EXPECT_EQ(run.Of("7", "voxels"), 1.0);
    EXPECT_EQ(run.Of("7", "Feret diameter"), 0.0);
    EXPECT_TRUE(std::isnan(run.Of("7", "volume"))) << "a plane has an area";
    EXPECT_EQ(AttributeOf(run.Host().Image(), c_path + "maximum label"), 7.0);
}

TEST(LabelMeasurements, GreyValuesOfEachObject) {
    CMeasured run(test::ImageOf<unsigned short>(IMAGE_GREY_16, Extents({5}), {300, 300, 0, 12, 12}));
    run.WithImage2(test::ImageOf<float>(IMAGE_GREY_F, Extents({5}), {1.0F, 4.0F, 100.0F, NAN, -2.0F})).Run();
    EXPECT_EQ(run.Of("300", "length"), 2.0);
    EXPECT_EQ(run.Of("300", "grey value/mean"), 2.5);
    EXPECT_EQ(run.Of("300", "grey value/SD"), 1.5);
    EXPECT_EQ(run.Of("300", "grey value/minimum"), 1.0);
    EXPECT_EQ(run.Of("300", "grey value/maximum"), 4.0);
    EXPECT_EQ(run.Of("012", "grey value/mean"), -2.0);
    EXPECT_EQ(run.Of("012", "grey value/SD"), 0.0);
}

/// A ball with its centre between pixels, and what is measured of it.
CMeasured Ball(double radius, const test::Numbers& spacing) {
    std::vector<std::int64_t> extents;
    for (const double step : spacing)
        extents.push_back(2 * static_cast<std::int64_t>(radius / step) + 4);
    const CSize size = Extents(extents);
    auto image = std::make_unique<CImage>(IMAGE_BINARY_FG, size, CSize(0, 0, 0));
    const CImageView<unsigned char> view(*image);
    const auto square = [&](std::int64_t place, std::size_t axis) {
        if (axis >= spacing.size())
            return 0.0;
        const double distance =
            (static_cast<double>(place) + 0.5 - static_cast<double>(extents[axis]) / 2.0) * spacing[axis];
        return distance * distance;
    };
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            for (std::int64_t x = 0; x < view.nx; ++x)
                view.Row(y, z)[x] = square(x, 0) + square(y, 1) + square(z, 2) <= radius * radius ? 1 : 0;
        }
    }
    CMeasured run(std::move(image));
    CQuillonHeaderTools::SetSpacing(run.Host().Image(), spacing[0], spacing[1],
                                    spacing.size() > 2 ? spacing[2] : 1.0);
    run.Run();
    return run;
}

TEST(LabelMeasurements, OfBallsNearTheirClosedForms) {
    for (const test::Numbers& spacing : {test::Numbers{1, 1, 1}, {0.5, 0.5, 1.5}, {1, 0.8, 0.6}}) {
        CMeasured ball = Ball(20.0, spacing);
        const double pi = std::numbers::pi;
        EXPECT_NEAR(ball.Of("1", "volume"), 4.0 / 3.0 * pi * 8000.0, 0.01 * 33510.0);
        EXPECT_NEAR(ball.Of("1", "surface area"), 4.0 * pi * 400.0, 0.02 * 5027.0);
        EXPECT_NEAR(ball.Of("1", "axis 1/length"), 40.0, 0.4);
        EXPECT_NEAR(ball.Of("1", "axis 3/length"), 40.0, 0.4);
        EXPECT_NEAR(ball.Of("1", "Feret diameter"), 40.0, 2.0);
    }
    for (const test::Numbers& spacing : {test::Numbers{1, 1}, {0.5, 1.5}}) {
        CMeasured disc = Ball(40.0, spacing);
        EXPECT_NEAR(disc.Of("1", "area"), std::numbers::pi * 1600.0, 0.01 * 5027.0);
        EXPECT_NEAR(disc.Of("1", "perimeter"), 2.0 * std::numbers::pi * 40.0, 0.02 * 251.0);
    }
}

TEST(LabelMeasurements, TheSurfaceOfABoxByHand) {
    // Each of the 8 pixels has 2 neighbours along a direction. Of these 16, those inside count as no change:
    // 8 along an axis, 4 along a diagonal of a face, and 2 along a diagonal of the cube.
    CMeasured run(test::ImageOf<unsigned char>(IMAGE_BINARY_FG, CSize(2, 2, 2), test::Bytes(8, 1)));
    run.Run();
    const double axis = 2.0 * 0.0457778912;
    const double face = 2.0 * 0.0369806171;
    const double diagonal = 2.0 * 0.0351956391;
    const double expected = 2.0 * (3.0 * 8.0 * axis + 6.0 * 12.0 * face / std::sqrt(2.0) +
                                   4.0 * 14.0 * diagonal / std::sqrt(3.0));
    EXPECT_NEAR(run.Of("1", "surface area"), expected, 1e-5);
}

TEST(LabelMeasurements, CanBePaintedByFeatureToImage) {
    CMeasured run(test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(2, 2), {0, 1, 3, 3}));
    run.Run();
    const CValueMap* map = run.Host().Image().Attributes().Entry("features/LabelMeasurements", true)->Map();
    ASSERT_TRUE(IsObjectBasedFeaturesMap(*map, "object"));
    CImage table(IMAGE_GREY_F, CSize(1, 1), CSize(0, 0, 0));
    ConvertObjectBasedFeaturesIntoFeatureImage("LabelMeasurements", *map, "object", table,
                                               {"voxels", "centroid/x"});
    EXPECT_EQ(test::PixelsOf<float>(table), (test::Floats{0, 1, 0, 2, 0, 1, 0, 0.5F}));
}

TEST(LabelMeasurements, AskTheHostToShowThem) {
    CMeasured run(test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(2, 1), {0, 1}));
    run.Plugin().UpdateParameters(run.Host().Tree());
    run.Plugin().GetData(run.Host().Tree());
    EXPECT_EQ(run.Host().Tree().Entry("output/views/create/0/type", true)->String().Std(),
              "ImageAttributesView");
}

TEST(LabelMeasurements, RefuseWhatTheyCannotMeasure) {
    CMeasured none(test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(2, 1), {0, 0}));
    EXPECT_EQ(none.Refusal(), "LabelMeasurements: the image has no labels other than 0.");
    CMeasured sizes(test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(2, 1), {0, 1}));
    sizes.WithImage2(test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(1, 1), {0}));
    EXPECT_EQ(sizes.Refusal(), "LabelMeasurements: Size of Image2 does not fit to current image: " +
                                   CSize(1, 1).ToString() + " vs " + CSize(2, 1).ToString() + ".");
    CMeasured floats(test::ImageOf<float>(IMAGE_GREY_F, CSize(1, 1), {1.0F}));
    EXPECT_EQ(floats.Refusal(), "LabelMeasurements: Image type IMAGE_GREY_F not supported.");
    CMeasured spacing(test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(2, 1), {0, 1}));
    CQuillonHeaderTools::SetSpacing(spacing.Host().Image(), 0.0, 1.0, 1.0);
    EXPECT_EQ(spacing.Refusal(),
              "LabelMeasurements: the image has the spacing 0 along an axis; it must be greater than 0.");
}

/// The lines of the table that are no comments.
std::vector<std::string> Exported(CBasicsRun& measured) {
    const std::string file =
        (std::filesystem::temp_directory_path() / ("labels" + std::to_string(getpid()) + ".csv")).string();
    auto copy = std::make_unique<CImage>(measured.Host().Image());
    CQuillonHeaderTools::SetAttributes(*copy, measured.Host().Image().Attributes());
    CBasicsRun run("LabelMeasurementsExport", std::move(copy));
    EXPECT_TRUE(run.Plugin().TestParameters(run.Host().Tree()));
    {
        const test::CDialogAnswers person(file);
        run.Run();
    }
    std::ifstream stream(file);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        if (!line.starts_with("#"))
            lines.push_back(line);
    }
    std::filesystem::remove(file);
    return lines;
}

TEST(LabelMeasurementsExport, WritesOneLineALabelWithUnitsInTheHeads) {
    test::Bytes pixels(12, 0);
    pixels[0] = 10;
    pixels[2] = pixels[3] = 9;
    CMeasured run(test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(4, 3), pixels));
    run.Run();
    const auto lines = Exported(run);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0],
              R"("label";"voxels";"area [px^2]";"centroid x [px]";"centroid y [px]";)"
              R"("bounding box x0 [px]";"bounding box x1 [px]";"bounding box y0 [px]";)"
              R"("bounding box y1 [px]";"axis 1 length [px]";"axis 1 x";"axis 1 y";)"
              R"("axis 2 length [px]";"axis 2 x";"axis 2 y";"Feret diameter [px]";"perimeter [px]")");
    EXPECT_EQ(lines[1].substr(0, 20), "9;2;2;2.5;0;2;3;0;0;");
    EXPECT_EQ(lines[2].substr(0, 20), "10;1;1;0;0;0;0;0;0;1");
}

TEST(LabelMeasurementsExport, NamesTheUnitAndTheGreyValues) {
    CMeasured run(test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(1, 1, 1), {1}));
    run.WithImage2(test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(1, 1, 1), {77}));
    CQuillonHeaderTools::SetSpacing(run.Host().Image(), 2.0, 2.0, 2.0);
    run.Run();
    const auto lines = Exported(run);
    EXPECT_NE(lines[0].find(R"("volume [unit^3]")"), std::string::npos) << lines[0];
    EXPECT_EQ(lines[1].substr(0, 5), "1;1;8");
    EXPECT_TRUE(lines[1].ends_with(";77;0;77;77")) << lines[1];
    run.Host().Image().Attributes().SetEntry("unit", test::Text("mm"));
    const std::string head = Exported(run)[0];
    for (const char* title : {R"("volume [mm^3]")", R"("centroid z [mm]")", R"("surface area [mm^2]")",
                              R"("bounding box z1 [px]")", R"("axis 3 z")", R"("grey value mean")"})
        EXPECT_NE(head.find(title), std::string::npos) << title;
}

TEST(LabelMeasurementsExport, AcceptsMeasuredImagesOnly) {
    CBasicsRun run("LabelMeasurementsExport", test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(1, 1), {1}));
    EXPECT_FALSE(run.Plugin().TestParameters(run.Host().Tree()));
    EXPECT_EQ(run.Run(), "");
}

} // namespace
