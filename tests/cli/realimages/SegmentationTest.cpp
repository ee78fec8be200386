// Segmentation of real images.

#include "cli/realimages/RealImageRuns.h"

#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;
using namespace test;

TEST(RealImages, ThePackServesWhatTheListShows) {
    const test::StEnd end = test::Quillon({"list", "--json", "--pack", QUILLON_PACK});
    ASSERT_EQ(end.status, 0);
    const auto list = nlohmann::json::parse(end.out);
    EXPECT_EQ(std::ranges::count_if(list, [](const auto& plugin) { return plugin["pack"] == "QuillonPack"; }),
              24);
    EXPECT_EQ(test::Quillon({"list"}).out.find("not in this pack"), std::string::npos);
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
    const auto markers = engine::ReadImage(DataFile("nuclei_platynereis_labels_u16.nrrd"));
    const auto before = test::PixelsOf<unsigned short>(*markers);
    const auto after = test::PixelsOf<unsigned char>(*run.image);
    std::int64_t changed = 0;
    for (std::size_t i = 0; i < before.size(); ++i)
        changed += before[i] != 0 && before[i] != after[i] ? 1 : 0;
    EXPECT_EQ(changed, 0);
}

TEST(RealImages, ConvexifyObjectsGrowsNucleiIntoBackgroundOnly) {
    const StRun run = RunOnFile("ConvexifyObjects", "nuclei_platynereis_labels_u16.nrrd",
                                {"method=OverwriteOnlyBackground"});
    EXPECT_EQ(run.image->Type(), IMAGE_GREY_16);
    EXPECT_EQ(HistoryOf(*run.image),
              std::vector<std::string>{"ConvexifyObjects<37>(OverwriteOnlyBackground)"});
    EXPECT_EQ(run.report["stderr"], ""); // every nucleus has a hull
    std::size_t labelCount = 0;
    ASSERT_TRUE(CQuillonHeaderTools::GetNumberOfLabels(*run.image, labelCount));
    EXPECT_EQ(labelCount, 37U); // 36 nuclei, though the highest label is 37
    const auto nuclei = engine::ReadImage(DataFile("nuclei_platynereis_labels_u16.nrrd"));
    const auto before = test::PixelsOf<unsigned short>(*nuclei);
    const auto after = test::PixelsOf<unsigned short>(*run.image);
    std::int64_t objectPixels = 0;
    std::int64_t added = 0;
    for (std::size_t i = 0; i < before.size(); ++i) {
        if (before[i] != 0) {
            ASSERT_EQ(after[i], before[i]);
        }
        objectPixels += before[i] != 0 ? 1 : 0;
        added += after[i] != before[i] ? 1 : 0;
    }
    EXPECT_GT(added, objectPixels / 50);
    EXPECT_LT(added, objectPixels / 2); // nuclei are nearly convex
}

} // namespace
