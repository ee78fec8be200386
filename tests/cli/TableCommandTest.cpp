#include "cli/CCommandError.h"
#include "support/CommandLine.h"
#include "support/FileTools.h"

#include <sorblib2core/CString.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using namespace cli;
using namespace engine;
using namespace ORVEN;

/// Files with measurements as the plug-ins of the pack store them.
class TableCommand : public testing::Test {
protected:
    TableCommand() {
        image.Attributes().SetEntry("unit", new CValueString("mm", CString::NPOS));
        Set("Granulometry/data/1.200000e+01", 6);
        Set("Granulometry/data/3.000000e+00", 2);
        WriteImage(image, sizes);
        image.Attributes().SetEntry(
            "features/FieldFeaturesOverGrayvalue/grayvalue 1/Euler number density [m^-3]",
            new CValueDouble(-0.5));
        WriteImage(image, both);
        WriteImage(CImage(IMAGE_GREY_8, CSize(2, 2), CSize(0, 0)), none);
    }

    void Set(const std::string& path, int number) {
        image.Attributes().SetEntry("features/" + path, new CValueLong(number));
    }

    static void ExpectError(const ::test::StEnd& end, const std::string& message) {
        EXPECT_EQ(end.status, STATUS_USAGE);
        EXPECT_EQ(end.out, "");
        EXPECT_EQ(end.err, "quillon: " + message + "\n");
    }

    ::test::CTestFolder folder;
    CImage image{IMAGE_GREY_8, CSize(4, 4), CSize(0, 0)};
    const std::string sizes = folder / "sizes.nrrd";
    const std::string both = folder / "both.nrrd";
    const std::string none = folder / "none.nrrd";
};

} // namespace

TEST_F(TableCommand, PrintsTheOnlyMeasurementOfAFile) {
    const ::test::StEnd end = ::test::Quillon({"table", sizes});
    EXPECT_EQ(end.err, "");
    EXPECT_EQ(end.status, STATUS_DONE);
    EXPECT_EQ(end.out,
              "# file: " + sizes +
                  "\n"
                  "# measurement: Granulometry, Size distribution\n"
                  "# unit of length: mm\n"
                  "# area fraction: 0.5\n"
                  "# diameter [mm] weighted by pixels: count 8; mean 9.75; SD 3.89711; minimum 3; 10 % 3; "
                  "25 % 3; median 12; 75 % 12; 90 % 12; maximum 12\n"
                  "diameter [mm],pixels,share [%],cumulative share [%]\n"
                  "3,2,25,25\n"
                  "12,6,75,100\n");
}

TEST_F(TableCommand, WritesTheSameToAFile) {
    const std::string csv = folder / "t.CSV";
    ASSERT_EQ(::test::Quillon({"table", sizes, "Granulometry", "-o", csv}).status, STATUS_DONE);
    EXPECT_EQ(::test::ReadText(csv), ::test::Quillon({"table", sizes}).out);
    const std::string json = folder / "t.json";
    ASSERT_EQ(::test::Quillon({"table", sizes, "-o", json}).status, STATUS_DONE);
    EXPECT_EQ(nlohmann::json::parse(::test::ReadText(json))["rows"][1][0], 12);
}

TEST_F(TableCommand, ShowsUnitsOfKeysInTheUnitOfTheFile) {
    const ::test::StEnd end = ::test::Quillon({"table", both, "FieldFeaturesOverGrayvalue"});
    EXPECT_TRUE(end.out.ends_with("grey value,Euler number density [per mm^3]\n1,-0.5\n")) << end.out;
}

TEST_F(TableCommand, SaysWhatIsInAFileIfTheMeasurementIsNotClear) {
    ExpectError(::test::Quillon({"table", both}),
                "'" + both +
                    "' holds several measurements: 'FieldFeaturesOverGrayvalue', 'Granulometry'; name one: "
                    "quillon table " +
                    both + " FieldFeaturesOverGrayvalue");
    ExpectError(::test::Quillon({"table", both, "Sizes"}),
                "'" + both +
                    "' has no measurement 'Sizes'; it has 'FieldFeaturesOverGrayvalue', 'Granulometry'");
    ExpectError(::test::Quillon({"table", none}),
                "'" + none + "' holds no measurement: 'quillon list' shows the plug-ins that measure");
    ExpectError(::test::Quillon({"table", none, "Sizes"}),
                "'" + none + "' has no measurement 'Sizes': 'quillon list' shows the plug-ins that measure");
}

TEST_F(TableCommand, ListsTenMeasurementsAtMost) {
    for (int i = 0; i < 11; ++i)
        Set("M" + std::to_string(10 + i) + "/n", 1);
    WriteImage(image, both);
    ExpectError(
        ::test::Quillon({"table", both, "Sizes"}),
        "'" + both +
            "' has no measurement 'Sizes'; it has 'FieldFeaturesOverGrayvalue', 'Granulometry', 'M10', "
            "'M11', 'M12', 'M13', 'M14', 'M15', 'M16', 'M17' and 3 more");
}

TEST_F(TableCommand, NamesThePartsOfAGroup) {
    Set("FiberDirections/FieldFiberDirections/Evaluated pixels", 1);
    Set("FiberDirections/SubfieldProfiles/x-Direction/Slice 0003/Slice position", 3);
    WriteImage(image, both);
    ExpectError(::test::Quillon({"table", both, "FiberDirections"}),
                "'FiberDirections' of '" + both +
                    "' consists of 'FiberDirections/FieldFiberDirections', "
                    "'FiberDirections/SubfieldProfiles/x-Direction'; name one: quillon table " +
                    both + " FiberDirections/FieldFiberDirections");
    const ::test::StEnd end = ::test::Quillon({"table", both, "x-Direction"});
    EXPECT_TRUE(end.out.ends_with("slice position along x [px],slice position [px]\n3,3\n"))
        << end.out << end.err;
}

TEST_F(TableCommand, ChecksTheNameOfTheTableFirst) {
    ExpectError(::test::Quillon({"table", "missing.nrrd", "-o", "t.txt"}),
                "-o 't.txt': a table's name must end in .csv or .json");
    EXPECT_EQ(::test::Quillon({"table", sizes, "-o", folder / "none/t.csv"}).status, STATUS_FILE);
}
