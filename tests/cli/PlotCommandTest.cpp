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

class PlotCommand : public testing::Test {
protected:
    PlotCommand() {
        CImage image(IMAGE_GREY_8, CSize(2, 2), CSize(0, 0));
        image.Attributes().SetEntry("features/Granulometry/data/1.5", new CValueLong(3));
        image.Attributes().SetEntry("features/Granulometry/data/2.5", new CValueLong(4));
        WriteImage(image, sizes);
        image.Attributes().SetEntry("features/Grey/grayvalue 001/V_V", new CValueDouble(1.0));
        image.Attributes().SetEntry("features/Grey/grayvalue 001/S_V", new CValueDouble(1.0));
        WriteImage(image, both);
    }

    /// The title and the description of the plot that the arguments make.
    [[nodiscard]] std::string Shown(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "plot");
        arguments.insert(arguments.end(), {"-o", plot});
        const ::test::StEnd end = ::test::Quillon(arguments);
        EXPECT_EQ(end.status, STATUS_DONE) << end.err;
        const std::string svg = ::test::ReadText(plot);
        const std::size_t begin = svg.find("<title>");
        const std::string tail = "</desc>";
        return svg.substr(begin, svg.find(tail) + tail.size() - begin);
    }

    static void ExpectError(const ::test::StEnd& end, const std::string& message) {
        EXPECT_EQ(end.status, STATUS_USAGE);
        EXPECT_EQ(end.err, "quillon: " + message + "\n");
    }

    ::test::CTestFolder folder;
    const std::string sizes = folder / "sizes.nrrd";
    const std::string both = folder / "both.nrrd";
    const std::string plot = folder / "plot.svg";
};

} // namespace

TEST_F(PlotCommand, TakesTitlesAndUnitsFromTheCatalogue) {
    const std::string meant =
        "<title>Size distribution</title>\n<desc>Share of pixels (%) over Diameter (px)</desc>";
    EXPECT_EQ(Shown({sizes}), meant);
    EXPECT_EQ(Shown({sizes, "Granulometry"}), meant);
    EXPECT_EQ(Shown({sizes, "Granulometry", "--title", "Pores", "--cumulative"}),
              "<title>Pores</title>\n<desc>Cumulative share of pixels (%) over Diameter (px)</desc>");
}

TEST_F(PlotCommand, TakesOtherNamesFromTheKeys) {
    EXPECT_EQ(Shown({both, "features/Grey", "--feature", "V_V"}),
              "<title>Grey</title>\n<desc>V_V over Grayvalue</desc>");
}

TEST_F(PlotCommand, ShowsSeveralFilesInOnePlot) {
    EXPECT_EQ(
        Shown({sizes, both, "Granulometry"}),
        "<title>Size distribution</title>\n<desc>Share of pixels (%) over Diameter (px): sizes, both</desc>");
    EXPECT_EQ(Shown({sizes, sizes}),
              "<title>Size distribution</title>\n<desc>Share of pixels (%) over Diameter (px): " + sizes +
                  ", " + sizes + "</desc>");
}

TEST_F(PlotCommand, WritesPdfAndPngOfTheWidthAskedFor) {
    const std::string pdf = folder / "plot.PDF";
    ASSERT_EQ(::test::Quillon({"plot", sizes, "-o", pdf}).status, STATUS_DONE);
    EXPECT_TRUE(::test::ReadText(pdf).starts_with("%PDF-"));
    const std::string png = folder / "plot.png";
    ASSERT_EQ(::test::Quillon({"plot", sizes, "-o", png, "--width", "127"}).status, STATUS_DONE);
    // Five inches of 300 pixels; width and height stand at 16 and 20 in the file.
    EXPECT_EQ(::test::ReadText(png).substr(16, 8), std::string("\0\0\x05\xdc\0\0\x03\xe8", 8));
}

TEST_F(PlotCommand, SaysInOneLineWhatIsWrong) {
    ExpectError(::test::Quillon({"plot", both, "-o", plot}),
                "'" + both + "' holds several measurements: 'Granulometry', 'Grey'; name one: quillon plot " +
                    both + " Granulometry");
    ExpectError(::test::Quillon({"plot", both, "Objects", "-o", plot}),
                "'" + both + "' has no measurement 'Objects'; it has 'Granulometry', 'Grey'");
    ExpectError(::test::Quillon({"plot", both, "Grey", "-o", plot}),
                "'Grey' has several features: 'S_V', 'V_V'; choose one: --feature 'S_V'");
    ExpectError(::test::Quillon({"plot", sizes, "-o", folder / "plot.jpg"}),
                "-o '" + (folder / "plot.jpg") + "': a plot's name must end in .svg, .pdf or .png");
    ExpectError(::test::Quillon({"plot", sizes, "-o", plot, "--bin", "-1"}),
                "--bin -1: a bin must be wider than 0");
    ExpectError(::test::Quillon({"plot", sizes, "-o", plot, "--bin", "1", "--cumulative"}),
                "--bin excludes --cumulative (see 'quillon plot --help')");
    ExpectError(::test::Quillon({"plot", sizes, "-o", plot, "--width", "10"}),
                "--width: Value 10 not in range 50 to 500 (see 'quillon plot --help')");
    EXPECT_EQ(::test::Quillon({"plot", sizes, "-o", "/dev/full.svg/x.svg"}).status, STATUS_FILE);
    EXPECT_EQ(::test::Quillon({"plot", sizes, folder / "missing.nrrd", "-o", plot}).status, STATUS_FILE);
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"both.nrrd", "sizes.nrrd"}));
}
