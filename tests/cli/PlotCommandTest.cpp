#include "cli/CCommandError.h"
#include "support/CommandLine.h"
#include "support/FileTools.h"

#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueMap.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace cli;
using namespace engine;
using namespace ORVEN;

TEST(PlotCommand, DrawsAMeasurementOfAFile) {
    const ::test::CTestFolder folder;
    CImage image(IMAGE_GREY_8, CSize(2, 2), CSize(0, 0));
    image.Attributes().SetEntry("features/Sizes/data/1.5", new CValueLong(3));
    image.Attributes().SetEntry("features/Sizes/data/2.5", new CValueLong(4));
    image.Attributes().SetEntry("features/Grey/grayvalue 001/V_V", new CValueDouble(1.0));
    const std::string file = folder / "measured.nrrd";
    WriteImage(image, file);
    const std::string plot = folder / "plot.svg";

    EXPECT_EQ(::test::Quillon({"plot", file, "Sizes", "-o", plot}).status, STATUS_DONE);
    EXPECT_NE(::test::ReadText(plot).find(">Sizes</text>"), std::string::npos);
    EXPECT_EQ(::test::Quillon({"plot", file, "features/Grey", "--feature", "V_V", "-o", plot}).status,
              STATUS_DONE);

    const ::test::StEnd unknown = ::test::Quillon({"plot", file, "Objects", "-o", plot});
    EXPECT_EQ(unknown.status, STATUS_USAGE);
    EXPECT_NE(unknown.err.find("'" + file + "' has no measurement 'Objects'; it has 'Grey', 'Sizes'"),
              std::string::npos)
        << unknown.err;
    EXPECT_EQ(::test::Quillon({"plot", file, "Sizes", "-o", folder / "plot.png"}).status, STATUS_USAGE);
    EXPECT_EQ(::test::Quillon({"plot", file, "Sizes", "-o", "/dev/full.svg/x.svg"}).status, STATUS_FILE);
}

} // namespace
