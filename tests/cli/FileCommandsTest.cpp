#include "cli/CCommandError.h"
#include "support/FileTools.h"

#include <sorblib2core/CValueLong.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <nlohmann/json.hpp>

#include <cmath>

using namespace ORVEN;
using nlohmann::json;
using ::test::Quillon;

using namespace cli;

namespace engine::test {

namespace {

void ExpectOneLine(const ::test::StEnd& end, int status, const std::string& part) {
    EXPECT_EQ(end.status, status);
    EXPECT_EQ(end.out, "");
    EXPECT_TRUE(end.err.starts_with("quillon: ")) << end.err;
    EXPECT_EQ(end.err.find('\n'), end.err.size() - 1) << end.err;
    EXPECT_NE(end.err.find(part), std::string::npos) << end.err;
}

json InfoOf(const std::string& path) {
    const ::test::StEnd end = Quillon({"info", path, "--json", "--range"});
    EXPECT_EQ(end.status, 0) << end.err;
    EXPECT_EQ(end.err, "");
    return json::parse(end.out);
}

} // namespace

TEST(InfoCommand, ShowsEveryKeyOfAPlainImage) {
    const json info = InfoOf(DataFile("cement_pores_128.nrrd"));
    const json meant = {{"file", DataFile("cement_pores_128.nrrd")},
                        {"type", "IMAGE_GREY_8"},
                        {"dimension", 3},
                        {"size", {128, 128, 128}},
                        {"channels", 1},
                        {"times", 1},
                        {"spacing", nullptr},
                        {"history", json::array()},
                        {"runs", json::array()},
                        {"number_of_labels", nullptr},
                        {"max_distance", nullptr},
                        {"min_max", {16, 148}},
                        {"attributes", json::object()}};
    EXPECT_EQ(info, meant);
}

TEST(InfoCommand, ShowsEveryAttribute) {
    const CTestFolder folder;
    const auto image = ImageOf<float>(IMAGE_GREY_F, CSize(3, 1), {NAN, -1.5f, INFINITY});
    CQuillonHeaderTools::SetSpacing(*image, 0.5, 2, 1);
    CQuillonHeaderTools::AddToHistory(*image, "gau\xc3\x9f(\"1\")", 0);
    CQuillonHeaderTools::SetNumberOfLabels(*image, 12);
    CQuillonHeaderTools::SetMaxDistance(*image, 7.25);
    WriteImage(*image, folder / "a.nrrd");
    const json info = InfoOf(folder / "a.nrrd");
    EXPECT_EQ(info["spacing"], json({0.5, 2.0}));
    EXPECT_EQ(info["history"], json::array({"gau\xc3\x9f(\"1\")"}));
    EXPECT_EQ(info["number_of_labels"], 12);
    EXPECT_EQ(info["max_distance"], 7.25);
    EXPECT_EQ(info["min_max"], json({-1.5, -1.5}));
    EXPECT_EQ(info["attributes"]["number of labels"], 12);
    EXPECT_EQ(info["attributes"]["spacing"], json({{"x", 0.5}, {"y", 2.0}, {"z", 1.0}}));
}

TEST(InfoCommand, ShowsNoRangeWherePixelsHaveNone) {
    const CTestFolder folder;
    WriteImage(*ImageOf<float>(IMAGE_GREY_F, CSize(2, 1), {NAN, INFINITY}), folder / "a.nrrd");
    EXPECT_EQ(InfoOf(folder / "a.nrrd")["min_max"], nullptr);
}

TEST(InfoCommand, ShowsTheSameToPeople) {
    const std::string file = DataFile("lung_ct_crop_u16.mha");
    const std::string meant = "file        " + file +
                              "\n"
                              "type        IMAGE_GREY_16\n"
                              "size        48 x 48 x 24\n"
                              "spacing     1.366 x 1.366 x 2.5\n";
    EXPECT_EQ(Quillon({"info", file}).out, meant);
    EXPECT_EQ(Quillon({"info", file, "--range"}).out, meant + "values      202 to 1509\n");
}

TEST(InfoCommand, ShowsWhereAnImageLies) {
    const std::string file = DataFile("brain_mri_crop.nii.gz");
    EXPECT_EQ(Quillon({"info", file}).out,
              "file        " + file +
                  "\n"
                  "type        IMAGE_GREY_8\n"
                  "size        48 x 40 x 32\n"
                  "spacing     1.0 x 1.0 x 1.0\n"
                  "origin      (90.0, 125.0, -71.0)\n"
                  "directions  (-1.0, 0.0, 0.0) (0.0, -1.0, 0.0) (0.0, 0.0, 1.0)\n"
                  "space       LPS: x to the left, y to the back, z to the head of a patient\n");
}

TEST(InfoCommand, ReadsNoPixelsUnlessAskedForTheRange) {
    const CTestFolder folder;
    // Nothing but the header is valid.
    Store(folder / "a.nrrd", "NRRD0004\ntype: int16\ndimension: 4\nsizes: 3 20 10 5\n"
                             "kinds: vector domain domain time\nencoding: gzip\n\n" +
                                 std::string(100, 'x'));
    EXPECT_EQ(Quillon({"info", folder / "a.nrrd"}).out,
              "file        " + (folder / "a.nrrd") +
                  "\n"
                  "type        IMAGE_GREY_16, or IMAGE_GREY_F if a value is negative\n"
                  "size        20 x 10\n"
                  "channels    3\n"
                  "time points 5\n"
                  "spacing     not known\n");
    const json info = json::parse(Quillon({"info", folder / "a.nrrd", "--json"}).out);
    EXPECT_EQ(info["type"], nullptr);
    EXPECT_EQ(info["min_max"], nullptr);
    EXPECT_EQ(info["channels"], 3);
    EXPECT_EQ(info["times"], 5);
    ExpectOneLine(Quillon({"info", folder / "a.nrrd", "--range", "--time", "0", "--channel", "0"}),
                  STATUS_FILE, "its packed pixels are damaged");
}

TEST(InfoCommand, AbbreviatesLongMeasurements) {
    const CTestFolder folder;
    const auto image = RandomImage(IMAGE_GREY_8, CSize(2, 2), 1);
    for (int i = 1; i <= 9; ++i)
        image->Attributes().SetEntry("features/Sizes/data/" + std::to_string(i) + ".5", new CValueLong(i));
    image->Attributes().SetEntry("features/Sizes/step", new CValueLong(1));
    WriteImage(*image, folder / "a.nrrd");
    const std::string text = Quillon({"info", folder / "a.nrrd"}).out;
    EXPECT_TRUE(text.ends_with("attributes  \n"
                               "  features/Sizes/data/1.5: 1\n"
                               "  features/Sizes/data: 8 more entries, shown by --all\n"
                               "  features/Sizes/step: 1\n"))
        << text;
    const std::string whole = Quillon({"info", "--all", folder / "a.nrrd"}).out;
    EXPECT_NE(whole.find("  features/Sizes/data/9.5: 9\n"), std::string::npos) << whole;
    EXPECT_EQ(whole.find("more entries"), std::string::npos);
    EXPECT_EQ(InfoOf(folder / "a.nrrd")["attributes"]["features"]["Sizes"]["data"].size(), 9u);
}

TEST(InfoCommand, LetsNoAttributeControlTheTerminal) {
    const CTestFolder folder;
    const auto image = RandomImage(IMAGE_GREY_8, CSize(2, 2), 1);
    CQuillonHeaderTools::AddToHistory(*image, "red \x1b[31m \xff", 0);
    WriteImage(*image, folder / "a.nrrd");
    const ::test::StEnd end = Quillon({"info", folder / "a.nrrd"});
    EXPECT_EQ(end.status, 0) << end.err;
    EXPECT_EQ(end.out.find('\x1b'), std::string::npos);
}

TEST(InfoCommand, EndsWithFourForFilesThatCannotBeRead) {
    const CTestFolder folder;
    ExpectOneLine(Quillon({"info", folder / "none.nrrd"}), STATUS_FILE, "No such file or directory");
    Store(folder / "a.nrrd", ReadText(DataFile("cement_pores_128.nrrd")).substr(0, 100000));
    ExpectOneLine(Quillon({"info", folder / "a.nrrd", "--range"}), STATUS_FILE,
                  "cannot read '" + (folder / "a.nrrd") + "': ");
    Store(folder / "a.tif", ReadText(DataFile("shell_crop_stack.tif")).substr(0, 20000));
    ExpectOneLine(Quillon({"info", folder / "a.tif"}), STATUS_FILE,
                  "cannot read '" + (folder / "a.tif") + "': ");
    ExpectOneLine(Quillon({"info"}), STATUS_USAGE, "FILE");
}

TEST(ConvertCommand, ChangesFormatTypeAndSpacing) {
    const CTestFolder folder;
    const std::string labels = DataFile("nuclei_platynereis_labels_u16.nrrd");
    ASSERT_EQ(
        Quillon({"convert", labels, folder / "mask.tif", "--as", "binary", "--spacing", "1,1,2"}).status, 0);
    const json info = InfoOf(folder / "mask.tif");
    EXPECT_EQ(info["type"], "IMAGE_BINARY_FG");
    EXPECT_EQ(info["size"], json({256, 256, 103}));
    EXPECT_EQ(info["spacing"], json({1.0, 1.0, 2.0}));
    EXPECT_EQ(info["min_max"], json({0, 1}));
    ASSERT_EQ(Quillon({"convert", labels, folder / "small.nii.gz", "--as", "grey8"}).status, 0);
    EXPECT_EQ(InfoOf(folder / "small.nii.gz")["min_max"], json({0, 37}));
}

TEST(ConvertCommand, SetsSpacingAndUnit) {
    const CTestFolder folder;
    ASSERT_EQ(
        Quillon({"convert", DataFile("page.png"), folder / "a.nrrd", "--spacing", "0.5,0.25", "--unit", "um"})
            .status,
        0);
    const json info = InfoOf(folder / "a.nrrd");
    EXPECT_EQ(info["spacing"], json({0.5, 0.25}));
    EXPECT_EQ(info["attributes"]["unit"], "um");
    ASSERT_EQ(Quillon({"convert", folder / "a.nrrd", folder / "b.nrrd", "--unit", "mm"}).status, 0);
    EXPECT_EQ(InfoOf(folder / "b.nrrd")["spacing"], json({0.5, 0.25})); // the numbers stay
    EXPECT_EQ(InfoOf(folder / "b.nrrd")["attributes"]["unit"], "mm");
}

TEST(ConvertCommand, TakesDotsPerInchForTheSpacingOnRequestOnly) {
    const CTestFolder folder;
    ASSERT_EQ(Quillon({"convert", DataFile("page.png"), folder / "a.nrrd", "--dpi-as-spacing"}).status, 0);
    EXPECT_EQ(InfoOf(folder / "a.nrrd")["spacing"], json({1000.0 / 2835, 1000.0 / 2835}));
    EXPECT_EQ(InfoOf(folder / "a.nrrd")["attributes"]["unit"], "mm");
    EXPECT_EQ(InfoOf(DataFile("page.png"))["spacing"], nullptr);
}

TEST(ConvertCommand, ChoosesAChannelOrATimePoint) {
    const CTestFolder folder;
    const std::string input = folder / "a.nrrd";
    Store(input, "NRRD0004\ntype: uint8\ndimension: 4\nsizes: 2 1 1 3\nencoding: raw\n\nabcdef");
    const std::string refused = "quillon: cannot read '" + input + "': ";
    const auto errorOf = [](const std::vector<std::string>& arguments, int status) {
        const ::test::StEnd end = Quillon(arguments);
        EXPECT_EQ(end.status, status);
        EXPECT_EQ(end.out, "");
        return end.err;
    };
    for (const auto& arguments : {std::vector<std::string>{"info", input, "--range"},
                                  {"convert", input, folder / "b.nrrd"},
                                  {"preview", input, "-o", folder / "b.png"},
                                  {"plot", input, "x", "-o", folder / "b.svg"},
                                  {"run", "SegmNiblack", input}})
        EXPECT_EQ(errorOf(arguments, STATUS_FILE),
                  refused + "it has 3 time points; choose one with --time N, N from 0 to 2\n");
    EXPECT_EQ(errorOf({"info", input, "--range", "--time", "3"}, STATUS_USAGE),
              refused + "--time 3 is not one of its 3 time points, 0 to 2\n");
    EXPECT_EQ(errorOf({"info", input, "--range", "--time", "0", "--channel", "1"}, STATUS_USAGE),
              refused + "--channel 1 is not one of its 1 channel, 0\n");
    ASSERT_EQ(Quillon({"convert", input, folder / "b.nrrd", "--time", "1"}).status, 0);
    EXPECT_EQ(Pixels<unsigned char>(*ReadImage(folder / "b.nrrd")), (std::vector<unsigned char>{'c', 'd'}));
    EXPECT_EQ(Quillon({"preview", input, "-o", folder / "b.png", "--time", "1"}).status, 0);
}

TEST(ConvertCommand, ReadsARegion) {
    const CTestFolder folder;
    const std::string input = DataFile("lung_ct_crop_u16.mha");
    const std::string output = folder / "a.nrrd";
    ASSERT_EQ(Quillon({"convert", input, output, "--region", "0:9,10:19,20:23"}).status, 0);
    EXPECT_EQ(InfoOf(output)["size"], json({10, 10, 4}));
    EXPECT_EQ(InfoOf(output)["attributes"]["origin"], json({{"x", 0.0}, {"y", 13.66}, {"z", 50.0}}));
    ASSERT_EQ(Quillon({"convert", input, output, "--region", "0:9,10:19,20:23", "--spacing", "1,2,3"}).status,
              0);
    EXPECT_EQ(InfoOf(output)["attributes"]["origin"], json({{"x", 0.0}, {"y", 20.0}, {"z", 60.0}}));
    for (const char* const region :
         {"0:9,10-19,20:23", "0,1,2", "1:2:3,0:1,0:1", ":5,0:1,0:1", "0:1.5,0:1,0:1"})
        ExpectOneLine(Quillon({"convert", input, output, std::string("--region=") + region}), STATUS_USAGE,
                      "quillon: --region ");
    ExpectOneLine(Quillon({"convert", input, output, "--region", "0:9,10-19,20:23"}), STATUS_USAGE,
                  "quillon: --region 0:9,10-19,20:23: '10-19' is not of the form FIRST:LAST, as in 0:99\n");
    ExpectOneLine(Quillon({"convert", input, output, "--region", "0:9,10:48,20:23"}), STATUS_USAGE,
                  "quillon: cannot read '" + input +
                      "': --region: 10:48 is not a range of its indices along y, 0 to 47\n");
}

TEST(PictureCommands, ReplaceTheirOwnInputOnlyWhenTold) {
    const CTestFolder folder;
    const std::string file = folder / "a.png";
    Store(file, ReadText(DataFile("page.png")));
    const std::string refusal = "quillon: '" + file + "' is also an input; give --overwrite to replace it\n";
    const std::string before = ReadText(file);
    for (const auto& words :
         {std::vector<std::string>{"preview", file, "-o", file}, {"plot", file, "Sizes", "-o", file}}) {
        const ::test::StEnd end = Quillon(words);
        EXPECT_EQ(end.status, 2);
        EXPECT_EQ(end.err, refusal);
        EXPECT_EQ(ReadText(file), before);
    }
    EXPECT_EQ(Quillon({"preview", file, "-o", file, "--overwrite"}).status, 0);
    EXPECT_NE(ReadText(file), before);
}

TEST(ConvertCommand, ReplacesItsOwnInputOnlyWhenTold) {
    const CTestFolder folder;
    Store(folder / "a.nrrd", ReadText(DataFile("cement_pores_128.nrrd")));
    const std::vector<std::string> words = {"convert", folder / "a.nrrd", folder / "a.nrrd", "--as", "greyf"};
    EXPECT_EQ(Quillon(words).status, 2);
    EXPECT_EQ(InfoOf(folder / "a.nrrd")["type"], "IMAGE_GREY_8");
    std::vector<std::string> told = words;
    told.emplace_back("--overwrite");
    ASSERT_EQ(Quillon(told).status, 0);
    const json info = InfoOf(folder / "a.nrrd");
    EXPECT_EQ(info["type"], "IMAGE_GREY_F");
    EXPECT_EQ(info["min_max"], json({16.0, 148.0}));
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"a.nrrd"});
}

TEST(ConvertCommand, SaysInOneLineWhatIsWrong) {
    const CTestFolder folder;
    const std::string input = DataFile("lung_ct_crop_u16.mha");
    const std::string output = folder / "a.nrrd";
    ExpectOneLine(Quillon({"convert", input, output, "--as", "grey8"}), STATUS_FILE,
                  "does not fit IMAGE_GREY_8");
    ExpectOneLine(Quillon({"convert", input, output, "--as", "gray8"}), STATUS_USAGE, "gray8");
    ExpectOneLine(Quillon({"convert", input, output, "--spacing", "1,0,1"}), STATUS_USAGE,
                  "quillon: --spacing 1,0,1: '0' is not a positive number\n");
    ExpectOneLine(
        Quillon({"convert", input, output, "--spacing", "1"}), STATUS_USAGE,
        "quillon: --spacing 1: give one number for each axis, X,Y for a plane and X,Y,Z for a volume\n");
    ExpectOneLine(Quillon({"convert", input, output, "--spacing", "0.5,0.7"}), STATUS_USAGE,
                  "quillon: --spacing 0.5,0.7: '" + input +
                      "' is a volume; give three numbers, as in --spacing 0.5,0.7,0.7\n");
    ExpectOneLine(Quillon({"convert", DataFile("page.png"), output, "--spacing", "1,2,3"}), STATUS_USAGE,
                  "quillon: --spacing 1,2,3: '" + DataFile("page.png") +
                      "' is a plane; give two numbers, as in --spacing 1,2\n");
    ExpectOneLine(Quillon({"convert", input, output, "--unit", "px"}), STATUS_USAGE,
                  "--unit: px not in {m,mm,um,nm}");
    ExpectOneLine(Quillon({"convert", input, folder / "a.jpg"}), STATUS_USAGE, "its name must end in");
    ExpectOneLine(Quillon({"convert", input, folder / "a.png"}), STATUS_FILE, "PNG holds planes");
    ExpectOneLine(Quillon({"convert", input, folder / "none/a.nrrd"}), STATUS_FILE, "there is no folder");
    EXPECT_TRUE(folder.Names().empty());
}

TEST(PreviewCommand, MakesAPictureOfAPlane) {
    const CTestFolder folder;
    const std::string input = DataFile("lung_ct_crop_u16.mha");
    ASSERT_EQ(Quillon({"preview", input, "-o", folder / "a.png", "--axis", "x", "--slice", "5"}).status, 0);
    // 48 x 24 pixels of 1.366 x 2.5: 48 x 44, six times.
    const json info = InfoOf(folder / "a.png");
    EXPECT_EQ(info["size"], json({288, 264}));
    EXPECT_EQ(info["min_max"], json({0, 255}));
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"a.png"});
    ASSERT_EQ(Quillon({"preview", input, "-o", folder / "mip.png", "--mip"}).status, 0);
    EXPECT_EQ(InfoOf(folder / "mip.png")["size"], json({288, 288}));
}

TEST(PreviewCommand, MakesColoursOfLabels) {
    const CTestFolder folder;
    const std::string input = DataFile("nuclei_platynereis_labels_u16.nrrd");
    ASSERT_EQ(Quillon({"preview", input, "-o", folder / "a.png", "--labels", "--mip"}).status, 0);
    ExpectUnreadable(folder / "a.png", "it has 3 channels; choose one with --channel N, N from 0 to 2");
}

TEST(PreviewCommand, SaysInOneLineWhatIsWrong) {
    const CTestFolder folder;
    const std::string input = DataFile("lung_ct_crop_u16.mha");
    const std::string output = folder / "a.png";
    ExpectOneLine(Quillon({"preview", input, "-o", output, "--slice", "24"}), STATUS_USAGE,
                  "the planes 0 to 23");
    ExpectOneLine(Quillon({"preview", input, "-o", output, "--slice", "-1"}), STATUS_USAGE,
                  "the planes 0 to 23");
    ExpectOneLine(Quillon({"preview", input, "-o", output, "--axis", "w"}), STATUS_USAGE, "w");
    ExpectOneLine(Quillon({"preview", input, "-o", output, "--mip", "--slice", "1"}), STATUS_USAGE,
                  "--slice");
    ExpectOneLine(Quillon({"preview", input, "-o", folder / "a.jpg"}), STATUS_USAGE, "must end in .png");
    ExpectOneLine(Quillon({"preview", input}), STATUS_USAGE, "output");
    ExpectOneLine(Quillon({"preview", DataFile("page.png"), "-o", output, "--axis", "x"}), STATUS_USAGE,
                  "is 2-d; leave --axis out");
    ExpectOneLine(Quillon({"preview", input, "-o", folder / "none/a.png"}), STATUS_FILE,
                  "there is no folder");
    EXPECT_TRUE(folder.Names().empty());
}

} // namespace engine::test
