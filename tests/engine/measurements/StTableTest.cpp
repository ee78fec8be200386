#include "engine/measurements/StTable.h"

#include "engine/errors/CEngineError.h"
#include "engine/measurements/TableText.h"
#include "support/Raised.h"

#include <sorblib2core/CString.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using namespace engine;
using namespace ORVEN;

CValueString* Text(const char* text) { return new CValueString(text, CString::NPOS); }

std::vector<StCatalogueMeasurement> Descriptions(const char* json) {
    return ParseCatalogueMeasurements(*CJson::Parse(json), "test");
}

const char* const c_sizes =
    R"([{"key": "Sizes", "title": "Size distribution", "kind": "distribution", "rows": "data",
    "row": {"title": "diameter", "unit": "length"}, "counted": "pixels", "countedIf": {"filtered": "balls"},
    "limitedBy": ["stepwidth"]}])";

const char* const c_objects =
    R"([{"key": "Objects", "title": "Objects", "kind": "objects", "row": {"title": "label"},
    "counted": "objects", "pixels": "voxels", "columns": [{"key": "voxels", "title": "voxels"},
    {"key": "volume", "title": "volume", "unit": "length^3"},
    {"key": "centroid/x", "title": "centroid x", "unit": "length", "statistics": false}]}])";

class TableTest : public testing::Test {
protected:
    TableTest() {
        image.Attributes().SetEntry("unit", Text("mm"));
        Set("Sizes/data/1.000000e+01", 1);
        Set("Sizes/data/2.000000e+00", 3);
        Set("Sizes/data/4.000000e+00", 4);
        image.Attributes().SetEntry("features/Sizes/on foreground", new CValueBool(true));
    }

    void Set(const std::string& path, int number) {
        image.Attributes().SetEntry("features/" + path, new CValueLong(number));
    }

    [[nodiscard]] StTable Table(const std::string& name, const char* descriptions = "[]") {
        m_descriptions = Descriptions(descriptions);
        return TableOf(FindMeasurement(image, name, m_descriptions).value(), image);
    }

    CImage image{IMAGE_GREY_8, CSize(4, 4, 2), CSize(0, 0, 0)};

private:
    std::vector<StCatalogueMeasurement> m_descriptions;
};

} // namespace

TEST_F(TableTest, OfADistributionHasSharesStatisticsAndAFraction) {
    EXPECT_EQ(TableAsCsv(Table("Sizes", c_sizes), "a.nrrd"),
              "# file: a.nrrd\n"
              "# measurement: Sizes, Size distribution\n"
              "# unit of length: mm\n"
              "# on foreground: true\n"
              "# volume fraction: 0.25\n"
              "# diameter [mm] weighted by pixels: count 8; mean 4; SD 2.44949; minimum 2; 10 % 2; 25 % 2; "
              "median 4; "
              "75 % 4; 90 % 10; maximum 10\n"
              "diameter [mm],pixels,share [%],cumulative share [%]\n"
              "2,3,37.5,37.5\n"
              "4,4,50,87.5\n"
              "10,1,12.5,100\n");
}

TEST_F(TableTest, NamesWhatAFlagSaysIsCounted) {
    image.Attributes().SetEntry("features/Sizes/filtered", new CValueBool(true));
    const StTable table = Table("Sizes", c_sizes);
    EXPECT_EQ(table.columns.front().title, "balls");
    EXPECT_EQ(StatisticsOf(table).front().weightedBy, "balls");
    EXPECT_EQ(TableAsCsv(table, "a").find("fraction"), std::string::npos) << "balls are no part of the image";
}

TEST_F(TableTest, HasNoFractionIfNotAllWasCounted) {
    image.Attributes().SetEntry("features/Sizes/stepwidth", new CValueDouble(0.5));
    const std::string text = TableAsCsv(Table("Sizes", c_sizes), "a");
    EXPECT_EQ(text.find("fraction"), std::string::npos);
    EXPECT_NE(text.find("# stepwidth: 0.5\n"), std::string::npos);
}

TEST_F(TableTest, OfObjectsHasTheirStatisticsAndUnits) {
    Set("Objects/maximum label", 12);
    Set("Objects/object 12/voxels", 2);
    Set("Objects/object 12/volume", 16);
    Set("Objects/object 02/voxels", 6);
    Set("Objects/object 02/volume", 48);
    Set("Objects/object 02/centroid/x", 1);
    Set("Objects/object 02/holes", 1);
    EXPECT_EQ(
        TableAsCsv(Table("Objects", c_objects), "a.nrrd"),
        "# file: a.nrrd\n"
        "# measurement: Objects\n"
        "# unit of length: mm\n"
        "# maximum label: 12\n"
        "# volume fraction: 0.25\n"
        "# voxels: count 2; mean 4; SD 2; minimum 2; 10 % 2; 25 % 2; median 2; 75 % 6; 90 % 6; maximum 6\n"
        "# volume [mm^3]: count 2; mean 32; SD 16; minimum 16; 10 % 16; 25 % 16; median 16; 75 % 48; 90 % "
        "48; "
        "maximum 48\n"
        "# holes: count 1; mean 1; SD 0; minimum 1; 10 % 1; 25 % 1; median 1; 75 % 1; 90 % 1; maximum 1\n"
        "label,voxels,volume [mm^3],centroid x [mm],holes\n"
        "2,6,48,1,1\n"
        "12,2,16,,\n");
}

TEST_F(TableTest, WithoutADescriptionShowsTheKeys) {
    Set("Grey/grayvalue 10/K_V [m^-3]", 1);
    Set("Grey/grayvalue 9/K_V [m^-3]", 2);
    Set("Grey/grayvalue 9/place/x", 3);
    image.Attributes().SetEntry("features/Grey/grayvalue 9/status", Text("ok"));
    EXPECT_EQ(TableAsCsv(Table("Grey"), "a"), "# file: a\n"
                                              "# measurement: Grey\n"
                                              "# unit of length: mm\n"
                                              "grayvalue,K_V [per mm^3],place x\n"
                                              "9,2,3\n"
                                              "10,1,\n");
}

TEST_F(TableTest, KeepsKeysThatAreNotNumbersAsTexts) {
    Set("Parts/Part z10 y1/n", 1);
    Set("Parts/Part z9 y2/n", 2);
    Set("Parts/a, \"b\"/n", 3);
    const std::string text = TableAsCsv(Table("Parts"), "a\nb");
    EXPECT_TRUE(text.starts_with("# file: a b\n")) << text;
    EXPECT_TRUE(text.ends_with("entry,n\nPart z9 y2,2\nPart z10 y1,1\n\"a, \"\"b\"\"\",3\n")) << text;
}

TEST_F(TableTest, OfASingleRegionHasOneRow) {
    Set("Whole/n", 3);
    Set("Whole/direction/x", 1);
    const StTable table = Table(
        "Whole",
        R"([{"key": "Whole", "title": "All", "kind": "single", "columns": [{"key": "n", "title": "number"}]}])");
    const std::string text = TableAsCsv(table, "a");
    EXPECT_TRUE(text.ends_with("number,direction x\n3,1\n")) << text;
}

TEST_F(TableTest, IsTheSameInJson) {
    Set("Objects/object 2/voxels", 6);
    Set("Objects/object 10/volume", 5);
    const auto json = nlohmann::json::parse(TableAsJson(Table("Objects", c_objects), "a.nrrd"));
    EXPECT_EQ(json["measurement"], "Objects");
    EXPECT_EQ(json["unit"], "mm");
    EXPECT_EQ(json["facts"]["volume fraction"], 6.0 / 32.0);
    EXPECT_EQ(json["columns"][2], nlohmann::json({{"title", "volume"}, {"key", "volume"}, {"unit", "mm^3"}}));
    EXPECT_EQ(json["rows"], nlohmann::json({{2, 6, nullptr}, {10, nullptr, 5}}));
    EXPECT_EQ(json["statistics"][1]["column"], "volume");
    EXPECT_EQ(json["statistics"][1]["mean"], 5);
    EXPECT_EQ(json["statistics"][1]["quantiles"]["50 %"], 5);
}

TEST_F(TableTest, NeedsNumbers) {
    image.Attributes().SetEntry("features/Words/one", Text("first"));
    const auto error = ::test::Raised<CCallerError>([&] { (void)Table("Words"); });
    EXPECT_STREQ(error.what(), "'Words' holds no numbers");
}

TEST_F(TableTest, IsFoundByNamePathAndLastStep) {
    Set("Fibres/Profiles/x/Slice 1/n", 1);
    Set("Fibres/Field/n", 1);
    const auto descriptions = Descriptions(
        R"([{"key": "Fibres/Profiles/x", "title": "P", "kind": "curve", "row": {"title": "slice"}},
            {"key": "Fibres/Field", "title": "F", "kind": "single"}])");
    EXPECT_EQ(MeasurementNames(image, descriptions),
              (std::vector<std::string>{"Fibres/Field", "Fibres/Profiles/x", "Sizes"}));
    EXPECT_EQ(FindMeasurement(image, "Field", descriptions)->name, "Fibres/Field");
    EXPECT_EQ(FindMeasurement(image, "features/Fibres/Profiles/x", descriptions)->name, "Fibres/Profiles/x");
    EXPECT_EQ(FindMeasurement(image, "Fibres/Profiles/x", descriptions)->description, &descriptions[0]);
    EXPECT_FALSE(FindMeasurement(image, "Profile", descriptions));
}
