// Measurements on real images, and their exports.

#include "cli/realimages/RealImageRuns.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;
using namespace test;

/// Runs the dialog of the fibre directions on a scan of 1.366 x 1.366 x 2.5 mm and returns the report.
nlohmann::json RunFiberDirectionsDialog(const std::vector<std::string>& options) {
    const test::CTestFolder folder;
    std::vector<std::string> arguments{"run", "LocalFiberDirectionsDialog", DataFile("lung_ct_crop_u16.mha"),
                                       "--report", folder / "report.json"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const test::StEnd end = test::Quillon(arguments);
    EXPECT_EQ(end.status, 0) << end.err;
    EXPECT_EQ(end.err, "");
    return nlohmann::json::parse(test::ReadText(folder / "report.json"));
}

TEST(RealImages, LocalFiberDirectionsDialogIsAnsweredByTheNamesOfItsInputs) {
    const nlohmann::json report = RunFiberDirectionsDialog(
        {"--answer", "radius_edit=3.5", "--answer", "select_size_group=true", "--answer", "sizex_edit=20",
         "--answer", "advanced_box=true", "--answer", "output_box=true", "--answer", "offset_edit=1.5"});
    EXPECT_EQ(report["parameters"],
              (nlohmann::json{
                  {"fiber_radius", 3.5},
                  {"use_subfields", true},
                  {"subfield_x", 15},
                  {"subfield_y", 15},
                  {"subfield_z", 8},
                  {"advanced", {{"output_directions", true}, {"otsu_factor", 1.5}, {"use_otsu", true}}}}));
    EXPECT_TRUE(report["documents"].empty());
    EXPECT_TRUE(report["boxes"].empty());
    EXPECT_EQ(report["stderr"], "");
}

/// A number of the field among the fibre directions that an image carries.
double FieldNumber(const CImage& image, const std::string& key) {
    const CValue* const number =
        image.Attributes().Entry("features/FiberDirections/FieldFiberDirections/" + key, true);
    return number->Double();
}

TEST(RealImages, LocalFiberDirectionsMeasuresTheFibresOfAScan) {
    const StRun run = RunOnFile(
        "LocalFiberDirections", "fibres_polymer_crop.nrrd",
        {"fiber_radius=2.5", "use_subfields=true", "subfield_x=30", "subfield_y=30", "subfield_z=30"});
    EXPECT_TRUE(run.report["documents"].empty());
    EXPECT_EQ(run.report["views"][0]["type"], "ImageAttributesView");
    const auto scan = engine::ReadImage(DataFile("fibres_polymer_crop.nrrd"));
    EXPECT_EQ(test::PixelsOf<unsigned char>(*run.image), test::PixelsOf<unsigned char>(*scan));
    // As one sees it: most of them run along y, hardly one along z.
    EXPECT_GT(FieldNumber(*run.image, "Main direction/y"), 0.98);
    EXPECT_GT(FieldNumber(*run.image, "Orientation tensor/yy"), 0.6);
    EXPECT_LT(FieldNumber(*run.image, "Orientation tensor/zz"), 0.15);
    EXPECT_NEAR(FieldNumber(*run.image, "Volume fraction"), 0.073, 0.01);
    EXPECT_GT(FieldNumber(*run.image, "Evaluated pixels"), 10000.0);
    const CValue* const subfields =
        run.image->Attributes().Entry("features/FiberDirections/SubfieldFiberDirections", true);
    EXPECT_EQ(subfields->Map()->Size(), 9U + 2U);
}

TEST(RealImages, LocalFiberDirectionsMapsTheDirectionOfEachPixel) {
    const StRun run = RunOnFile("LocalFiberDirections", "fibres_polymer_crop.nrrd",
                                {"fiber_radius=2.5", "advanced/output_directions=true",
                                 "advanced/otsu_factor=1.0", "advanced/use_otsu=true"});
    ASSERT_EQ(run.report["documents"].size(), 2U);
    EXPECT_EQ(run.report["documents"][0]["label"], "fibres_polymer_crop.nrrd - Theta");
    EXPECT_EQ(run.report["documents"][1]["label"], "fibres_polymer_crop.nrrd - Phi");
    EXPECT_EQ(run.image->Type(), IMAGE_GREY_F);
    EXPECT_EQ(HistoryOf(*run.image),
              std::vector<std::string>{"FiberDirections(radius=2.5,otsu=1,angle=theta)"});
    const auto angles = test::PixelsOf<float>(*run.image);
    const auto known = std::count_if(angles.begin(), angles.end(), [](float angle) { return angle >= 0.0F; });
    EXPECT_EQ(static_cast<double>(known), FieldNumber(*run.image, "Evaluated pixels"));
}

TEST(RealImages, LocalFiberDirectionsReadsTheReportOfItsDialog) {
    const test::CTestFolder folder;
    const std::string scan = DataFile("cement_pores_128.nrrd");
    const test::StEnd asked = test::Quillon({"run", "LocalFiberDirectionsDialog", scan, "--answer",
                                             "radius_edit=3", "--answer", "advanced_box=true", "--answer",
                                             "output_box=true", "--report", folder / "asked.json"});
    ASSERT_EQ(asked.status, 0) << asked.err;
    const test::StEnd measured = test::Quillon({"run", "LocalFiberDirections", scan, "--parameters",
                                                folder / "asked.json", "-o", folder / "theta.nrrd"});
    ASSERT_EQ(measured.status, 0) << measured.err;
    EXPECT_EQ(engine::ReadImage(folder / "theta.nrrd")->Size(), CSize(128, 128, 128));
}

TEST(RealImages, LocalFiberDirectionsDialogChangesNothingWhenItIsCancelled) {
    const nlohmann::json report =
        RunFiberDirectionsDialog({"-p", "fiber_radius:double=2", "--cancel-dialogs"});
    EXPECT_EQ(report["parameters"], (nlohmann::json{{"fiber_radius", 2.0}}));
}

TEST(RealImages, FieldFeaturesBecomeAnImageToLookThemUpIn) {
    const test::CTestFolder folder;
    const std::string measured = folder / "measured.nrrd";
    const StRun measurement =
        RunOnPath("FieldFeaturesGrayValueImage", DataFile("cement_pores_128.nrrd"), measured, {});
    const CValue* features =
        measurement.image->Attributes().Entry("features/FieldFeaturesOverGrayvalue", true);
    ASSERT_NE(features, nullptr);
    EXPECT_EQ(features->Map()->Size(), 256U);
    EXPECT_EQ(measurement.report["views"][0]["type"], "ImageAttributesView");

    const StRun run = RunOnPath("FeatureToImage", measured, folder / "out.nrrd", {});
    EXPECT_EQ(run.image->Size(), CSize(256, 8));
    EXPECT_EQ(HistoryOf(*run.image),
              std::vector<std::string>{"features2image(\"FieldFeaturesOverGrayvalue\")"});
    // The last row is the share of the volume that is brighter. The values of the scan are 16 to 148.
    const CImageView<const float> rows(*run.image);
    const float* const brighter = rows.Row(7, 0);
    EXPECT_EQ(brighter[15], 1.0F);
    EXPECT_EQ(brighter[148], 0.0F);
    EXPECT_TRUE(std::is_sorted(brighter, brighter + 256, std::greater<float>()));
    EXPECT_GT(brighter[60], 0.5F);
}

TEST_F(CementSolid, PointwiseRelationFindsTheOpeningBelowTheImage) {
    const std::string opened = m_folder / "opened.nrrd";
    (void)RunOnPath("SphericalMorphology", Path(), opened, {"operation=opening", "radius=2"});
    const test::StEnd end = test::Quillon({"run", "PointwiseRelation", opened, "-p", "Image2=" + Path()});
    EXPECT_EQ(end.status, 0) << end.err;
    EXPECT_NE(end.out.find(" - image a is pointwise lower/equal then image b\n"), std::string::npos)
        << end.out;
    EXPECT_NE(end.out.find(" - same image sizes (128,128,128)\n"), std::string::npos);
    EXPECT_EQ(end.out.find("Nothing was written"), std::string::npos) << "there is nothing to write";
}

TEST_F(CementSolid, GranulometryMeasuresEveryPore) {
    const StRun run = Run("Granulometry", {"onForeground=false", "returnImage=true"});
    ASSERT_EQ(run.image->Type(), IMAGE_GREY_F);
    EXPECT_EQ(run.report["documents"][0]["label"], "solid.nrrd");
    // The program adds what came before.
    EXPECT_EQ(HistoryOf(*run.image),
              (std::vector<std::string>{"Niblack(w=20,c=-0.8)", "granulometry(spherical,bg)"}));
    const auto solid = test::PixelsOf<unsigned char>(*m_solid);
    const auto sizes = test::PixelsOf<float>(*run.image);
    std::map<float, std::int64_t> counts;
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        ASSERT_EQ(sizes[i] > 0.0F, solid[i] == 0);
        if (sizes[i] > 0.0F)
            ++counts[sizes[i]];
    }
    EXPECT_EQ(counts.begin()->first, 2.0F);
    EXPECT_GT(counts.rbegin()->first, 10.0F);
    EXPECT_LT(counts.rbegin()->first, 80.0F);

    const CValueMap& data = *run.image->Attributes().Entry("features/Granulometry/data", true)->Map();
    ASSERT_EQ(data.Size(), counts.size());
    for (auto entry = data.begin(); entry != data.end(); ++entry) {
        const float diameter = std::stof(entry.Key().ToString());
        const auto nearest = counts.lower_bound(diameter - 1e-4F); // keys have seven digits
        ASSERT_NE(nearest, counts.end());
        EXPECT_NEAR(nearest->first, diameter, 1e-4F);
        EXPECT_EQ(entry.Value()->Long(), nearest->second);
    }
}

TEST_F(CementSolid, GranulometryExportWritesATableThatAddsUp) {
    const std::string measured = m_folder / "measured.nrrd";
    const StRun measurement =
        RunOnPath("Granulometry", Path(), measured,
                  {"onForeground=false", "experimental=true", "dobinning=true", "stepwidth=1.5"});
    EXPECT_TRUE(measurement.report["documents"].empty());
    EXPECT_EQ(measurement.report["views"][0]["type"], "ImageAttributesView");
    const std::string table = m_folder / "sizes.csv";
    const test::StEnd end = test::Quillon({"run", "GranulometryExport", measured, "--file", table});
    EXPECT_EQ(end.status, 0) << end.err;
    EXPECT_EQ(end.err, "");

    std::vector<std::string> head;
    std::vector<std::string> rows;
    std::istringstream lines(test::ReadText(table));
    for (std::string line; std::getline(lines, line);)
        (line.starts_with('#') ? head : rows).push_back(line);
    const auto hasHeadLine = [&head](const std::string& line) { return std::ranges::count(head, line) == 1; };
    EXPECT_TRUE(hasHeadLine("# \"type\";\"IMAGE_BINARY_FG\""));
    EXPECT_TRUE(hasHeadLine("# \"features/Granulometry/stepwidth\";1.5"));
    EXPECT_TRUE(hasHeadLine("# \"on foreground\";\"background\""));
    EXPECT_TRUE(hasHeadLine("# \"filename\";\"" + table + "\""));
    ASSERT_GT(rows.size(), 5U);
    EXPECT_EQ(rows[0], "\"diameter\";\"count\"");
    std::int64_t sum = 0;
    for (std::size_t row = 1; row < rows.size(); ++row) {
        const std::size_t separator = rows[row].find(';');
        ASSERT_NE(separator, std::string::npos);
        std::size_t used = 0;
        const double diameter = std::stod(rows[row], &used);
        EXPECT_EQ(used, separator) << rows[row];
        EXPECT_EQ(std::fmod(diameter, 1.5), 0.0) << rows[row];
        sum += std::stoll(rows[row].substr(separator + 1), &used);
        EXPECT_EQ(separator + 1 + used, rows[row].size()) << rows[row];
    }
    const auto solid = test::PixelsOf<unsigned char>(*m_solid);
    EXPECT_EQ(sum, std::ranges::count(solid, 0));
}

TEST(RealImages, LocalFiberDirectionsExportWritesATableThatLinesUp) {
    const test::CTestFolder folder;
    const std::string measured = folder / "measured.nrrd";
    (void)RunOnPath(
        "LocalFiberDirections", DataFile("fibres_polymer_crop.nrrd"), measured,
        {"fiber_radius=3", "use_subfields=true", "subfield_x=30", "subfield_y=30", "subfield_z=30"});
    const std::string table = folder / "directions.csv";
    const test::StEnd end =
        test::Quillon({"run", "LocalFiberDirectionsExport", measured, "-p", "export_subfields=true", "-p",
                       "export_profiles=true", "--file", table});
    EXPECT_EQ(end.status, 0) << end.err;
    EXPECT_NE(end.out.find(table + " was picked in a file dialog\n"), std::string::npos) << end.out;

    std::istringstream lines(test::ReadText(table));
    std::string line;
    ASSERT_TRUE(std::getline(lines, line));
    EXPECT_EQ(line, "# Subfield size: 30, Subfield step: 30, Fiber radius: 3, Otsu factor: 1.25, Border: 3, "
                    "Image size: (96,96,36)");
    ASSERT_TRUE(std::getline(lines, line));
    const auto columns = std::count(line.begin(), line.end(), ';');
    EXPECT_EQ(line.rfind("\"ID\";\"Anisotropy index\";", 0), 0U) << line;
    int rowCount = 0;
    for (; std::getline(lines, line); ++rowCount)
        EXPECT_EQ(std::count(line.begin(), line.end(), ';'), columns) << line;
    // The field, 3 x 3 x 1 subfields, and the slices at least 3 pixels away from the border.
    EXPECT_EQ(rowCount, 1 + 9 + 90 + 90 + 30);
}

} // namespace
