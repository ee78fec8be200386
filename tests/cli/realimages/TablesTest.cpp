// Tables and pictures of what the plug-ins measure on real images.

#include "cli/realimages/RealImageRuns.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using namespace test;
using nlohmann::json;

json TableOf(const std::string& file, const std::string& measurement) {
    const CTestFolder folder;
    const StEnd end = Quillon({"table", file, measurement, "-o", folder / "t.json"});
    EXPECT_EQ(end.status, 0) << end.err;
    return json::parse(ReadText(folder / "t.json"));
}

/// The titles of the columns with their units.
std::string HeadsOf(const json& table) {
    std::string heads;
    for (const json& column : table["columns"]) {
        heads += heads.empty() ? "" : "|";
        heads += column["title"].get<std::string>();
        if (column["unit"] != "")
            heads += " [" + column["unit"].get<std::string>() + "]";
    }
    return heads;
}

/// A measurement of a real image in a file of its own.
class RealTables : public testing::Test {
protected:
    void Measure(const std::string& plugin, const std::string& file,
                 const std::vector<std::string>& parameters = {}) {
        std::vector<std::string> words{"run", plugin, file, "-o", m_output};
        for (const std::string& parameter : parameters)
            words.insert(words.end(), {"-p", parameter});
        const StEnd end = Quillon(words);
        ASSERT_EQ(end.status, 0) << end.err;
    }

    CTestFolder m_folder;
    std::string m_output = m_folder / "out.nrrd";
};

TEST_F(RealTables, OfSizesAgreeWithTheImageOfSizes) {
    const std::string solid = m_folder / "solid.nrrd";
    ASSERT_EQ(Quillon({"run", "SegmNiblack", DataFile("cement_pores_128.nrrd"), "-p", "windowsize=20", "-p",
                       "coefficient=-0.8", "-o", solid})
                  .status,
              0);
    Measure("Granulometry", solid, {"onForeground=false", "returnImage=true"});
    const json table = TableOf(m_output, "Granulometry");
    EXPECT_EQ(HeadsOf(table), "diameter [px]|pixels|share [%]|cumulative share [%]");

    double count = 0.0;
    double sum = 0.0;
    double squares = 0.0;
    const auto sizes = PixelsOf<float>(*engine::ReadImage(m_output));
    for (const float size : sizes) {
        if (size > 0.0F) {
            count += 1.0;
            sum += static_cast<double>(size);
            squares += static_cast<double>(size) * static_cast<double>(size);
        }
    }
    const json& statistics = table["statistics"][0];
    const double mean = sum / count;
    EXPECT_EQ(statistics["weighted by"], "pixels");
    EXPECT_EQ(statistics["count"], count);
    EXPECT_NEAR(statistics["mean"].get<double>(), mean, 1e-5); // keys have seven digits
    EXPECT_NEAR(statistics["SD"].get<double>(), std::sqrt(squares / count - mean * mean), 1e-4);
    EXPECT_NEAR(table["facts"]["volume fraction"].get<double>(), count / static_cast<double>(sizes.size()),
                1e-12);
    EXPECT_NEAR(table["rows"].back()[3].get<double>(), 100.0, 1e-9);
}

TEST_F(RealTables, OfBallsHaveNoVolumeFraction) {
    const std::string solid = m_folder / "bone.nrrd";
    ASSERT_EQ(Quillon({"convert", DataFile("bone_trabecular_crop_bin.nrrd"), solid, "--as", "binary"}).status,
              0);
    Measure("Granulometry", solid, {"experimental=true", "medialaxispoint-filtered=true"});
    const json table = TableOf(m_output, "Granulometry");
    EXPECT_EQ(table["columns"][1]["title"], "balls");
    EXPECT_FALSE(table["facts"].contains("volume fraction"));
}

TEST_F(RealTables, OfFieldFeaturesHaveTitlesAndUnits) {
    Measure("FieldFeaturesGrayValueImage", DataFile("bone_trabecular_crop_bin.nrrd"));
    const json table = TableOf(m_output, "FieldFeaturesOverGrayvalue");
    EXPECT_EQ(
        HeadsOf(table),
        "grey value|volume fraction V_V|surface density S_V [per mm]|mean curvature density M_V [per mm^2]|"
        "total curvature density K_V [per mm^3]|Euler number density [per mm^3]|mean chord length [mm]|"
        "structure model index|blocks examined");
    EXPECT_EQ(table["rows"].size(), 256u);
    EXPECT_EQ(table["rows"][10][0], 10);
}

TEST_F(RealTables, OfFibreDirectionsHaveAPathForEachPart) {
    Measure("LocalFiberDirections", DataFile("fibres_polymer_crop.nrrd"),
            {"fiber_radius=2.5", "use_subfields=true", "subfield_x=20", "subfield_y=20", "subfield_z=20"});
    const std::string region =
        "volume fraction|anisotropy index|main direction x|main direction y|main direction z|"
        "main direction theta [rad]|main direction phi [rad]";
    EXPECT_TRUE(HeadsOf(TableOf(m_output, "FieldFiberDirections")).starts_with(region));
    EXPECT_EQ(TableOf(m_output, "FieldFiberDirections")["rows"].size(), 1u);
    EXPECT_TRUE(HeadsOf(TableOf(m_output, "SubfieldFiberDirections")).starts_with("subfield|" + region));
    const json profile = TableOf(m_output, "y-Direction");
    EXPECT_TRUE(HeadsOf(profile).starts_with("slice position along y [px]|slice position [px]|" + region));
    EXPECT_EQ(profile["rows"][0][0], 3);
    EXPECT_EQ(profile["rows"].back()[0], 92);
}

TEST_F(RealTables, OfLabelsHaveTheirFractionOfTheImage) {
    const std::string labels = DataFile("nuclei_platynereis_labels_u16.nrrd");
    if (Quillon({"describe", "LabelMeasurements"}).status != 0)
        GTEST_SKIP() << "the second pack is not part of this build";
    Measure("LabelMeasurements", labels);
    const json table = TableOf(m_output, "LabelMeasurements");
    EXPECT_TRUE(HeadsOf(table).starts_with("label|voxels|volume [px^3]|centroid x [px]|")) << HeadsOf(table);
    EXPECT_TRUE(HeadsOf(table).ends_with("|Feret diameter [px]|surface area [px^2]")) << HeadsOf(table);
    EXPECT_EQ(table["rows"].size(), 36u);
    const auto pixels = PixelsOf<std::uint16_t>(*engine::ReadImage(labels));
    const auto inside = pixels.size() - static_cast<std::size_t>(std::ranges::count(pixels, 0));
    EXPECT_NEAR(table["facts"]["volume fraction"].get<double>(),
                static_cast<double>(inside) / static_cast<double>(pixels.size()), 1e-12);
    EXPECT_EQ(table["statistics"].size(), 7u) << "none for places and directions";
}

TEST_F(RealTables, ArePlottedAlike) {
    Measure("FieldFeaturesGrayValueImage", DataFile("cement_pores_128.nrrd"));
    const std::string plot = m_folder / "p.svg";
    const auto plotted = [&] {
        const StEnd end = Quillon({"plot", m_output, "--feature", "S_V", "-o", plot});
        EXPECT_EQ(end.status, 0) << end.err;
        return ReadText(plot);
    };
    const std::string first = plotted();
    EXPECT_NE(first.find("<desc>Surface density S_V (per px) over Grey value</desc>"), std::string::npos);
    EXPECT_EQ(plotted(), first);
}

} // namespace
