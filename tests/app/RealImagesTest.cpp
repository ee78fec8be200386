// Every plug-in of the pack, from file to file on a real image, as a person runs it.

#include "CommandLine.h"
#include "ImageFile.h"
#include "support/TestImage.h"

#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;

std::string DataFile(const std::string& name) { return QUILLON_TEST_DATA "/" + name; }

/// One plug-in run from file to file: what was written, and the report.
struct StRun {
    std::unique_ptr<CImage> image;
    nlohmann::json report;
};

StRun RunOnFile(const std::string& plugin, const std::string& file,
                const std::vector<std::string>& parameters) {
    const test::CTestFolder folder;
    const std::string output = folder / "out.nrrd";
    const std::string report = folder / "report.json";
    std::vector<std::string> arguments{"run", plugin, DataFile(file), "-o", output, "--report", report};
    for (const std::string& parameter : parameters)
        arguments.insert(arguments.end(), {"-p", parameter});
    const test::StEnd end = test::Quillon(arguments);
    EXPECT_EQ(end.status, 0) << end.err;
    EXPECT_EQ(end.err, "");
    return {app::ReadImage(output), nlohmann::json::parse(test::ReadText(report))};
}

std::vector<std::string> HistoryOf(const CImage& image) {
    std::vector<std::string> lines;
    for (const CValue* line : *image.Attributes().Entry("history", true)->Vector())
        lines.push_back(line->String().Std());
    return lines;
}

double ForegroundOf(const CImage& image) {
    const auto pixels = test::PixelsOf<unsigned char>(image);
    return static_cast<double>(std::count(pixels.begin(), pixels.end(), 1)) /
           static_cast<double>(pixels.size());
}

TEST(RealImages, ThePackServesWhatTheListShows) {
    const test::StEnd end = test::Quillon({"list"});
    ASSERT_EQ(end.status, 0);
    for (const char* name : {"SegmNiblack", "SegmSauvola", "Watershed"})
        EXPECT_NE(end.out.find(name), std::string::npos) << name;
    EXPECT_EQ(end.out.find("not in this pack"), std::string::npos) << end.out;
}

TEST(RealImages, SegmSauvolaFindsTheInkOfAPage) {
    const StRun run = RunOnFile("SegmSauvola", "page.png", {"windowsize=15", "coefficient=0.2"});
    EXPECT_EQ(run.image->Type(), IMAGE_BINARY_FG);
    EXPECT_EQ(run.image->Size(), CSize(384, 191));
    EXPECT_EQ(HistoryOf(*run.image), std::vector<std::string>{"Sauvola(w=15,c=0.2)"});
    EXPECT_EQ(run.report["documents"][0]["label"], "page.png");
    EXPECT_EQ(run.report["stdout"].get<std::string>().rfind("NEW Sauvola: ", 0), 0U);
    const double paper = ForegroundOf(*run.image);
    EXPECT_GT(paper, 0.75);
    EXPECT_LT(paper, 0.95);
}

TEST(RealImages, SegmNiblackKeepsTheSpacingOfAScan) {
    const StRun run = RunOnFile("SegmNiblack", "lung_ct_crop_u16.mha", {"windowsize=7", "coefficient=0.2"});
    EXPECT_EQ(run.image->Type(), IMAGE_BINARY_FG);
    EXPECT_EQ(run.image->Size(), CSize(48, 48, 24));
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    ASSERT_TRUE(CQuillonHeaderTools::GetSpacing(*run.image, x, y, z));
    EXPECT_NEAR(x, 1.366, 0.001);
    EXPECT_EQ(z, 2.5);
    EXPECT_GT(ForegroundOf(*run.image), 0.1);
    EXPECT_LT(ForegroundOf(*run.image), 0.9);
}

TEST(RealImages, TheOlderNiblackRunsOn8And16Bits) {
    for (const char* file : {"cement_pores_128.nrrd", "lung_ct_crop_u16.mha"}) {
        const StRun run = RunOnFile("SegmNiblack", file, {"windowsize=3", "usenewimpl=false"});
        EXPECT_EQ(run.image->Type(), IMAGE_BINARY_FG) << file;
        EXPECT_GT(ForegroundOf(*run.image), 0.1) << file;
    }
}

TEST(RealImages, WatershedParcelsOutAScan) {
    const StRun run = RunOnFile("Watershed", "cement_pores_128.nrrd",
                                {"Neighborhood=Neigh_26", "type=preflood", "nParameter=2000"});
    std::size_t labelCount = 0;
    ASSERT_TRUE(CQuillonHeaderTools::GetNumberOfLabels(*run.image, labelCount));
    ASSERT_GT(labelCount, 10U);
    ASSERT_LT(labelCount, 256U);
    ASSERT_EQ(run.image->Type(), IMAGE_GREY_8);
    EXPECT_EQ(HistoryOf(*run.image),
              std::vector<std::string>{"watershed(N26,area=2000)<" + std::to_string(labelCount - 1) + ">"});

    // Every label has pixels, and no two regions touch.
    const CImageView<const unsigned char> labels(*run.image);
    std::vector<std::int64_t> sizes(labelCount, 0);
    std::int64_t touching = 0;
    for (std::int64_t z = 0; z < labels.nz; ++z) {
        for (std::int64_t y = 0; y < labels.ny; ++y) {
            for (std::int64_t x = 0; x < labels.nx; ++x) {
                const unsigned char label = labels.Row(y, z)[x];
                ASSERT_LT(label, labelCount);
                ++sizes[label];
                const auto differs = [&](std::int64_t nextX, std::int64_t nextY, std::int64_t nextZ) {
                    if (nextX >= labels.nx || nextY >= labels.ny || nextZ >= labels.nz)
                        return false;
                    const unsigned char next = labels.Row(nextY, nextZ)[nextX];
                    return label != 0 && next != 0 && next != label;
                };
                touching += differs(x + 1, y, z) || differs(x, y + 1, z) || differs(x, y, z + 1) ||
                            differs(x + 1, y + 1, z) || differs(x + 1, y + 1, z + 1);
            }
        }
    }
    EXPECT_EQ(touching, 0);
    EXPECT_EQ(std::count(sizes.begin(), sizes.end(), 0), 0);
}

TEST(RealImages, WatershedFromMarkersKeepsTheirLabels) {
    const StRun run =
        RunOnFile("Watershed", "nuclei_platynereis_labels_u16.nrrd",
                  {"type=marker", "markerimage=" + DataFile("nuclei_platynereis_labels_u16.nrrd")});
    std::size_t labelCount = 0;
    ASSERT_TRUE(CQuillonHeaderTools::GetNumberOfLabels(*run.image, labelCount));
    EXPECT_EQ(labelCount, 38U); // the highest of the markers is 37
    EXPECT_EQ(HistoryOf(*run.image), std::vector<std::string>{"watershed(N6, fromMarkerImage)<37>"});
    const auto markers = app::ReadImage(DataFile("nuclei_platynereis_labels_u16.nrrd"));
    const auto before = test::PixelsOf<unsigned short>(*markers);
    const auto after = test::PixelsOf<unsigned char>(*run.image);
    std::int64_t changed = 0;
    for (std::size_t i = 0; i < before.size(); ++i)
        changed += before[i] != 0 && before[i] != after[i] ? 1 : 0;
    EXPECT_EQ(changed, 0);
}

} // namespace
