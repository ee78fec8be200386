// Every plug-in of the pack, from file to file on a real image, as a person runs it.

#include "engine/files/ImageFile.h"
#include "support/CommandLine.h"
#include "support/TestImage.h"

#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <sstream>
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

StRun RunOnPath(const std::string& plugin, const std::string& path, const std::string& output,
                const std::vector<std::string>& parameters) {
    const test::CTestFolder folder;
    const std::string report = folder / "report.json";
    std::vector<std::string> arguments{"run", plugin, path, "-o", output, "--report", report};
    for (const std::string& parameter : parameters)
        arguments.insert(arguments.end(), {"-p", parameter});
    const test::StEnd end = test::Quillon(arguments);
    EXPECT_EQ(end.status, 0) << end.err;
    EXPECT_EQ(end.err, "");
    return {engine::ReadImage(output), nlohmann::json::parse(test::ReadText(report))};
}

StRun RunOnFile(const std::string& plugin, const std::string& file,
                const std::vector<std::string>& parameters) {
    const test::CTestFolder folder;
    return RunOnPath(plugin, DataFile(file), folder / "out.nrrd", parameters);
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
    EXPECT_EQ(std::count(end.out.begin(), end.out.end(), '\n'), 24) << end.out;
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

/// The solid of the cement, in a file of a folder of its own.
class CementSolid : public testing::Test {
protected:
    CementSolid()
        : m_solid(RunOnPath("SegmNiblack", DataFile("cement_pores_128.nrrd"), Path(),
                            {"windowsize=20", "coefficient=-0.8"})
                      .image) {}

    [[nodiscard]] std::string Path() const { return m_folder / "solid.nrrd"; }

    [[nodiscard]] StRun Run(const std::string& plugin, const std::vector<std::string>& parameters) const {
        return RunOnPath(plugin, Path(), m_folder / "out.nrrd", parameters);
    }

    test::CTestFolder m_folder;
    std::unique_ptr<CImage> m_solid;
};

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

/// Counts of foreground around a pixel and itself, which has all 27 inside the image.
int CountForeground(const CImageView<const unsigned char>& pixels, std::int64_t x, std::int64_t y,
                    std::int64_t z) {
    int count = 0;
    for (std::int64_t step = 0; step < 27; ++step)
        count += pixels.Row(y + step / 3 % 3 - 1, z + step / 9 - 1)[x + step % 3 - 1] != 0 ? 1 : 0;
    return count;
}

TEST_F(CementSolid, MarkSimplePointsMarksMostOfTheSurfaceAndNothingElse) {
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

/// Runs the dialog of the fibre directions on a scan of 1.366 x 1.366 x 2.5 mm and tells the report.
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

TEST(RealImages, LocalFiberDirectionsTakesTheReportOfItsDialog) {
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

TEST(RealImages, TheBallsOfTheExactMedialAxisGiveBoneBack) {
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

TEST_F(CementSolid, PointwiseRelationTellsThatAnOpeningTakesAwayOnly) {
    const std::string opened = m_folder / "opened.nrrd";
    (void)RunOnPath("SphericalMorphology", Path(), opened, {"operation=opening", "radius=2"});
    const test::StEnd end = test::Quillon({"run", "PointwiseRelation", opened, "-p", "Image2=" + Path()});
    EXPECT_EQ(end.status, 0) << end.err;
    EXPECT_NE(end.out.find(" - image a is pointwise lower/equal then image b\n"), std::string::npos)
        << end.out;
    EXPECT_NE(end.out.find(" - same image sizes (128,128,128)\n"), std::string::npos);
    EXPECT_EQ(end.out.find("Nothing was written"), std::string::npos) << "there is nothing to write";
}

TEST_F(CementSolid, GranulometryGivesEveryPoreItsSizes) {
    const StRun run = Run("Granulometry", {"onForeground=false", "returnImage=true"});
    ASSERT_EQ(run.image->Type(), IMAGE_GREY_F);
    EXPECT_EQ(run.report["documents"][0]["label"], "solid.nrrd");
    EXPECT_EQ(HistoryOf(*run.image), std::vector<std::string>{"granulometry(spherical,bg)"});
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
