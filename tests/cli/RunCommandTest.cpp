#include "engine/files/ImageFile.h"
#include "support/CommandLine.h"
#include "support/TestImage.h"

#include <sorblib2core/CString.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>

using nlohmann::json;
using namespace ORVEN;

namespace {

/// The program with the test pack on an image of its own, 4 x 3 pixels of 8 bits.
class RunCommand : public testing::Test {
protected:
    RunCommand() { engine::WriteImage(*test::ImageOf<std::uint8_t>(IMAGE_GREY_8, {4, 3}, pixels), image); }

    [[nodiscard]] std::vector<std::string> Words(const std::string& plugin,
                                                 std::vector<std::string> options) const {
        options.insert(options.begin(), {"run", plugin, image, "--pack", QUILLON_TEST_PACK});
        return options;
    }

    [[nodiscard]] test::StEnd Run(const std::string& plugin, const std::vector<std::string>& options = {},
                                  const std::vector<std::string>& environment = {}) const {
        return test::Quillon(Words(plugin, options), environment);
    }

    /// What the Echo plug-in was given, line by line.
    [[nodiscard]] std::vector<std::string> Given(const std::string& plugin,
                                                 std::vector<std::string> options) const {
        const std::string log = folder / "log";
        options.insert(options.end(), {"--pack-log", log});
        const test::StEnd end = Run(plugin, options);
        EXPECT_EQ(end.status, 0) << end.err;
        std::istringstream text(test::ReadText(log));
        std::vector<std::string> lines;
        for (std::string line; std::getline(text, line);)
            lines.push_back(line);
        return lines;
    }

    [[nodiscard]] json Report() const { return json::parse(test::ReadText(folder / "report.json")); }
    [[nodiscard]] std::vector<std::string> Reporting() const { return {"--report", folder / "report.json"}; }

    const std::vector<std::uint8_t> pixels = {0, 1, 2, 3, 50, 60, 70, 80, 252, 253, 254, 255};
    test::CTestFolder folder;
    const std::string image = folder / "in.nrrd";
};

/// One line for a person, and no more.
void ExpectOneErrorLine(const test::StEnd& end) {
    EXPECT_EQ(end.err.rfind("quillon: ", 0), 0u) << end.err;
    EXPECT_EQ(std::count(end.err.begin(), end.err.end(), '\n'), 1) << end.err;
    EXPECT_EQ(end.err.back(), '\n');
}

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}
bool Contains(const std::vector<std::string>& lines, const std::string& line) {
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

} // namespace

// Documents and files

TEST_F(RunCommand, WritesDocumentsInOrderAndSaysSo) {
    const std::string a = folder / "a.nrrd";
    const std::string b = folder / "b.nrrd";
    const test::StEnd end = Run("Echo", {"-o", a, "-o", b});
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(end.err, "");
    const auto firstLine = end.out.find('\n');
    EXPECT_EQ(end.out.rfind("Echo on " + image + ": done in ", 0), 0u) << end.out;
    EXPECT_EQ(end.out.substr(firstLine + 1), "  result 'first', grey8, 4 x 3, written to " + a +
                                                 "\n  result 'second', grey8, 4 x 3, written to " + b + "\n");
    for (const std::string& file : {a, b})
        EXPECT_EQ(test::PixelsOf<std::uint8_t>(*engine::ReadImage(file)), pixels);
}

TEST_F(RunCommand, SaysThatNothingWasWritten) {
    const test::StEnd end = Run("Echo");
    EXPECT_EQ(end.status, 0);
    EXPECT_TRUE(Contains(end.out, "Nothing was written: give -o FILE to keep the result.\n")) << end.out;
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"in.nrrd"});
}

TEST_F(RunCommand, SaysWhichDocumentsAndFilesWereLeftOver) {
    EXPECT_TRUE(
        Contains(Run("Echo", {"-o", folder / "a.nrrd"}).out, "result 'second', grey8, 4 x 3, not written"));
    const test::StEnd end =
        Run("Echo", {"-o", folder / "a.nrrd", "-o", folder / "b.nrrd", "-o", folder / "c.nrrd"});
    EXPECT_EQ(end.status, 0);
    EXPECT_TRUE(Contains(end.out, "c.nrrd: the plug-in delivered 2 results."));
}

TEST_F(RunCommand, ReplacesItsInputOnlyWhenTold) {
    const test::StEnd refused = Run("Echo", {"-o", image});
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.err, "quillon: '" + image + "' is also an input; give --overwrite to replace it\n");
    EXPECT_EQ(Run("Echo", {"-o", image, "--overwrite"}).status, 0);
    const auto written = engine::ReadImage(image);
    EXPECT_EQ(test::PixelsOf<std::uint8_t>(*written), pixels);
    EXPECT_EQ(written->Attributes().Entry("history/0", true)->String().Std(), "Echo()");
}

TEST_F(RunCommand, WritesTheInputWithWhatWasMeasured) {
    const test::StEnd end = Run("Measure", {"-o", folder / "m.nrrd", "--report", folder / "report.json"});
    EXPECT_EQ(end.status, 0);
    EXPECT_TRUE(Contains(end.out, "the image with the measurement, written to")) << end.out;
    const auto written = engine::ReadImage(folder / "m.nrrd");
    EXPECT_EQ(written->Attributes().Entry(CQuillonHeaderTools::c_sTagFeatures + "/Answer", true)->Double(),
              42.5);
    EXPECT_EQ(test::PixelsOf<std::uint8_t>(*written), pixels);
    EXPECT_EQ(Report()["views"], json::parse(R"([{"type": "ImageAttributesView"}])"));
    EXPECT_EQ(Report()["documents"], json::array());
}

TEST_F(RunCommand, SaysWhatToDoToKeepAMeasurement) {
    EXPECT_TRUE(Contains(Run("Measure").out, "give -o FILE to keep the image with what was measured"));
}

TEST_F(RunCommand, KeepsQuietWhenAsked) {
    const test::StEnd end = Run("Echo", {"--quiet"});
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(end.out, "");
    EXPECT_EQ(end.err, "");
}

TEST_F(RunCommand, KeepsThePackQuietEvenWithoutALog) {
    const test::StEnd end = Run("Echo");
    EXPECT_FALSE(Contains(end.out, "label="));
    EXPECT_EQ(end.err, "");
}

TEST_F(RunCommand, WritesWhatThePackSaidToItsLog) {
    const auto lines = Given("Echo", {});
    EXPECT_TRUE(Contains(lines, "label=in.nrrd"));
    EXPECT_TRUE(Contains(lines, "a word on standard error"));
}

// The image

TEST_F(RunCommand, TakesTheImageAsAnotherType) {
    ASSERT_EQ(Run("Echo", {"--as", "binary", "-o", folder / "b.nrrd"}).status, 0);
    const auto written = engine::ReadImage(folder / "b.nrrd");
    EXPECT_EQ(written->Type(), IMAGE_BINARY_FG);
    EXPECT_EQ(test::PixelsOf<std::uint8_t>(*written),
              (std::vector<std::uint8_t>{0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1}));
}

TEST_F(RunCommand, GivesTheImageASpacing) {
    ASSERT_EQ(Run("Echo", {"--spacing", "0.5,0.25", "-o", folder / "s.nrrd"}).status, 0);
    double x = 0;
    double y = 0;
    double z = 0;
    ASSERT_TRUE(CQuillonHeaderTools::GetSpacing(*engine::ReadImage(folder / "s.nrrd"), x, y, z));
    EXPECT_EQ(x, 0.5);
    EXPECT_EQ(y, 0.25);
}

TEST_F(RunCommand, LabelsTheImageByItsFileUnlessTold) {
    EXPECT_TRUE(Contains(Given("Echo", {}), "label=in.nrrd"));
    EXPECT_TRUE(Contains(Given("Echo", {"--label", "a name"}), "label=a name"));
    EXPECT_TRUE(Contains(Given("Echo", {"--label", ""}), "label="));
    EXPECT_TRUE(Contains(Given("Echo", {"--no-label"}), "label=(none)"));
}

// Parameters and settings

TEST_F(RunCommand, SendsParametersOfEveryKind) {
    const auto lines =
        Given("Echo", {"-p", "flag:bool=on", "-p", "count:long=-3", "-p", "size:double=2", "-p",
                       "deep/word:string=a=b", "-p", "picture:image=" + image, "-p", "no picture:image="});
    for (const char* line : {"flag bool true", "count long -3", "size double 2.000000",
                             "deep/word string a=b", "picture image (4,3)", "no picture image null"})
        EXPECT_TRUE(Contains(lines, line)) << line;
}

TEST_F(RunCommand, SendsTheCataloguesDefaults) {
    const auto lines = Given("SegmNiblack", {"-p", "windowsize=7"});
    for (const char* line : {"coefficient double -0.200000", "windowsize long 7", "usenewimpl bool true"})
        EXPECT_TRUE(Contains(lines, line)) << line;
}

TEST_F(RunCommand, SendsOnlyWhatWasGivenWhenBare) {
    const auto lines = Given("SegmNiblack", {"--bare", "-p", "windowsize=7"});
    EXPECT_TRUE(Contains(lines, "windowsize long 7"));
    EXPECT_FALSE(Contains(lines, "usenewimpl bool true"));
}

TEST_F(RunCommand, SendsAFileOfParametersUnchanged) {
    std::ofstream(folder / "p.json") << R"({"windowsize": 9.0, "other": "x"})";
    const auto lines = Given("SegmNiblack", {"--parameters", folder / "p.json", "-p", "coefficient=1"});
    EXPECT_TRUE(Contains(lines, "windowsize double 9.000000"));
    EXPECT_TRUE(Contains(lines, "other string x"));
    EXPECT_TRUE(Contains(lines, "coefficient double 1.000000"));
    EXPECT_FALSE(Contains(lines, "usenewimpl bool true"));
}

TEST_F(RunCommand, TakesTheParametersOfAnotherRunsReport) {
    ASSERT_EQ(Run("SegmNiblack", {"-p", "windowsize=11", "--report", folder / "report.json"}).status, 0);
    const auto lines = Given("SegmNiblack", {"--parameters", folder / "report.json"});
    EXPECT_TRUE(Contains(lines, "windowsize long 11"));
    EXPECT_TRUE(Contains(lines, "coefficient double -0.200000"));
}

TEST_F(RunCommand, MakesSettingsBeforeTheRun) {
    EXPECT_TRUE(Contains(Given("Echo", {"-s", "path:string=/some/file"}), "setting=/some/file"));
}

TEST_F(RunCommand, TakesANumberOfThreads) {
    EXPECT_EQ(Run("Echo", {"--threads", "3"}).status, 0);
    EXPECT_EQ(Run("Echo", {"--threads", "0"}).status, 2);
    EXPECT_EQ(Run("Echo", {"--threads", "many"}).status, 2);
}

// Reports

TEST_F(RunCommand, ReportsARun) {
    const std::string a = folder / "a.nrrd";
    ASSERT_EQ(Run("SegmNiblack", {"-o", a, "--report", folder / "report.json"}).status, 0);
    json report = Report();
    EXPECT_GE(report["seconds"].get<double>(), 0);
    EXPECT_TRUE(Contains(report["stdout"].get<std::string>(), "label=in.nrrd\n"));
    report.erase("seconds");
    EXPECT_TRUE(report.contains("peak_bytes"));
    report.erase("peak_bytes");
    report.erase("stdout");
    EXPECT_EQ(report,
              json({{"plugin", "SegmNiblack"},
                    {"accepted", true},
                    {"error", nullptr},
                    {"documents",
                     {{{"label", "first"}, {"type", "IMAGE_GREY_8"}, {"size", {4, 3}}, {"file", a}},
                      {{"label", "second"}, {"type", "IMAGE_GREY_8"}, {"size", {4, 3}}, {"file", nullptr}}}},
                    {"views", json::array()},
                    {"boxes", json::array()},
                    {"parameters", {{"coefficient", -0.2}, {"windowsize", 5}, {"usenewimpl", true}}},
                    {"stderr", "a word on standard error\n"},
                    {"cancelled", false}}));
}

// Failures

TEST_F(RunCommand, EndsWithOneWhenThePluginRaises) {
    auto options = Reporting();
    options.insert(options.end(), {"-o", folder / "a.nrrd"});
    const test::StEnd end = Run("Raise", options);
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(end.err, "quillon: Raise says: this image is cursed\n");
    EXPECT_EQ(end.out, "");
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"in.nrrd", "report.json"}));
    EXPECT_EQ(Report()["error"], json({{"source", "RaisePlugin"}, {"message", "this image\nis cursed"}}));
    EXPECT_EQ(Report()["accepted"], true);
    EXPECT_TRUE(Contains(Report()["stderr"].get<std::string>(), "Raise caught an ORVEN::CException"));
}

TEST_F(RunCommand, EndsWithOneForEveryOtherException) {
    for (const char* what : {"memory", "standard", "number"}) {
        const test::StEnd end = Run("Raise", {"-p", std::string("what:string=") + what});
        EXPECT_EQ(end.status, 1) << what;
        EXPECT_EQ(end.err.rfind("quillon: Raise says: ", 0), 0u) << end.err;
        ExpectOneErrorLine(end);
    }
}

TEST_F(RunCommand, EndsWithThreeWhenTheImageIsRefusedAndSaysWhatIsTaken) {
    auto options = Reporting();
    options.insert(options.end(), {"--as", "binary", "-p", "refuse:bool=true", "-o", folder / "a.nrrd"});
    const test::StEnd end = Run("SegmNiblack", options);
    EXPECT_EQ(end.status, 3);
    ExpectOneErrorLine(end);
    EXPECT_TRUE(Contains(end.err,
                         "(binary, 4 x 3); it takes grey8, grey16, grey32 or greyf of 2 or 3 dimensions, at "
                         "least 2 pixels along each axis"))
        << end.err;
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"in.nrrd", "report.json"}));
    EXPECT_EQ(Report()["accepted"], false);
    EXPECT_EQ(Report()["error"], nullptr);
}

TEST_F(RunCommand, EndsWithThreeForARefusalThatTheCatalogueCannotExplain) {
    const test::StEnd end = Run("Echo", {"-p", "refuse:bool=true"});
    EXPECT_EQ(end.status, 3);
    ExpectOneErrorLine(end);
}

TEST_F(RunCommand, RunsARefusedImageWhenForced) {
    const test::StEnd end = Run("Echo", {"-p", "refuse:bool=true", "--force", "-o", folder / "a.nrrd",
                                         "--report", folder / "report.json"});
    EXPECT_EQ(end.status, 0) << end.err;
    EXPECT_EQ(Report()["accepted"], false);
    EXPECT_EQ(Report()["documents"].size(), 2u);
}

TEST_F(RunCommand, EndsWithFourForFilesThatCannotBeRead) {
    std::ofstream(folder / "broken.nrrd") << "NRRD0004\ntype: uint8\n";
    for (const auto& words : std::vector<std::vector<std::string>>{
             {"run", "Echo", folder / "none.nrrd", "--pack", QUILLON_TEST_PACK},
             {"run", "Echo", folder / "broken.nrrd", "--pack", QUILLON_TEST_PACK},
             {"run", "Echo", image, "--pack", folder / "none.so"},
             {"run", "Echo", image, "--pack", image},
             Words("Echo", {"--parameters", folder / "none.json"}),
             Words("Echo", {"-p", "x:image=" + (folder / "none.nrrd")}),
         }) {
        const test::StEnd end = test::Quillon(words);
        EXPECT_EQ(end.status, 4) << end.err;
        ExpectOneErrorLine(end);
    }
}

TEST_F(RunCommand, EndsWithFourBeforeTheRunForAFolderThatIsNotThere) {
    for (const char* option : {"-o", "--report", "--pack-log"}) {
        const test::StEnd end = Run("Raise", {option, folder / "no folder/a.nrrd"});
        EXPECT_EQ(end.status, 4) << option; // not 1: the plug-in has not run
        ExpectOneErrorLine(end);
    }
}

TEST_F(RunCommand, EndsWithFourForAResultThatItsFormatCannotHoldAndReportsIt) {
    auto options = Reporting();
    options.insert(options.end(), {"--as", "greyf", "-o", folder / "a.png"});
    const test::StEnd end = Run("Echo", options);
    EXPECT_EQ(end.status, 4);
    ExpectOneErrorLine(end);
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"in.nrrd", "report.json"}));
    EXPECT_EQ(Report()["error"]["source"], "quillon");
}

TEST_F(RunCommand, EndsWithTwoForAWrongCommandLine) {
    for (const auto& options : std::vector<std::vector<std::string>>{
             {"--no-such-option"},
             {"-p", "no equals sign"},
             {"-p", "radius=1"},
             {"-p", "count:long=1.5"},
             {"-p", "count:int=1"},
             {"-s", "lut=x"},
             {"--as", "grey7"},
             {"--spacing", "1,2,3,4"},
             {"--label", "x", "--no-label"},
             {"--choose", "x"},
             {"--answer", "=x"},
             {"--gui", "--cancel-dialogs"},
             {"-o", "same.nrrd", "-o", "same.nrrd"},
             {"a third word"},
             {"-o", "result.unknown"},
         }) {
        const test::StEnd end = Run("Echo", options);
        EXPECT_EQ(end.status, 2) << end.err;
        ExpectOneErrorLine(end);
    }
    EXPECT_EQ(test::Quillon({"run"}).status, 2);
    EXPECT_EQ(test::Quillon({"run", "Echo"}).status, 2);
}

TEST_F(RunCommand, NamesTheNearestKeyAndPlugin) {
    test::StEnd end = Run("SegmNiblack", {"-p", "window=3"});
    EXPECT_EQ(end.status, 2);
    EXPECT_EQ(end.err, "quillon: unknown parameter 'window'; the nearest key is 'windowsize'\n");
    end = Run("SegmNibblack");
    EXPECT_EQ(end.status, 2);
    EXPECT_EQ(end.err, "quillon: there is no plug-in 'SegmNibblack'; the nearest name is 'SegmNiblack'\n");
}

TEST_F(RunCommand, TakesThePluginFromTheFirstPackThatHasIt) {
    // The catalogue of the test pack lists it, but the pack lacks it.
    EXPECT_EQ(
        test::Quillon({"run", "SegmSauvola", image, "--pack", QUILLON_TEST_PACK, "-o", folder / "a.nrrd"})
            .status,
        0);
    const test::StEnd end = test::Quillon(
        {"run", "SegmSauvola", image, "--pack", folder / "none.so", "--quiet", "-o", folder / "a.nrrd"});
    EXPECT_EQ(end.status, 0);
    ExpectOneErrorLine(end); // about the pack that is not there
}

// Dialogs

TEST_F(RunCommand, AnswersADialogAndPrintsTheBox) {
    auto options = Reporting();
    options.insert(options.end(), {"--answer", "name_edit=Ada", "--choose", "certain=yes"});
    const test::StEnd end = Run("Dialog", options);
    EXPECT_EQ(end.status, 0) << end.err;
    EXPECT_TRUE(Contains(end.out, "  Answer: Ada for sure\n")) << end.out;
    EXPECT_EQ(Report()["boxes"],
              json::parse(R"([{"kind": "information", "caption": "Answer", "text": "Ada for sure"}])"));
    EXPECT_EQ(Report()["parameters"], json::parse(R"({"name": "Ada"})"));
}

TEST_F(RunCommand, PressesOkWithoutAnswers) {
    EXPECT_TRUE(Contains(Run("Dialog").out, "  Answer: nobody perhaps\n"));
}

TEST_F(RunCommand, CancelsDialogs) {
    const test::StEnd end = Run("Dialog", {"--cancel-dialogs", "--report", folder / "report.json"});
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(Report()["documents"], json::array());
    EXPECT_EQ(Report()["cancelled"], false);
}

TEST_F(RunCommand, EndsWithTwoForADialogThatCannotBeAnswered) {
    auto options = Reporting();
    options.insert(options.end(), {"--answer", "name_edit=", "-o", folder / "a.nrrd"});
    const test::StEnd end = Run("Dialog", options);
    EXPECT_EQ(end.status, 2);
    EXPECT_EQ(end.err, "quillon: the dialog 'Questions' has its button 'OK' disabled\n");
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"in.nrrd", "report.json"}));
    EXPECT_EQ(Report()["error"]["source"], "quillon");
}

TEST_F(RunCommand, EndsWithTwoForAnAnswerThatNoDialogTookButKeepsTheResult) {
    const test::StEnd end = Run("Dialog", {"--answer", "nmae_edit=Ada", "-o", folder / "a.nrrd"});
    EXPECT_EQ(end.status, 2);
    EXPECT_EQ(end.err,
              "quillon: no dialog had an input named 'nmae_edit', so the plug-in ran without that answer\n");
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"a.nrrd", "in.nrrd"}));
}

TEST_F(RunCommand, GivesTheFileToAFileDialog) {
    EXPECT_EQ(Run("Dialog", {"-p", "file:bool=true", "--file", folder / "table.csv"}).status, 0);
    EXPECT_EQ(test::ReadText(folder / "table.csv"), "exported");
}

TEST_F(RunCommand, SaysThatNoFileDialogOpened) {
    const std::string note = "No file dialog opened, so --file was not used.\n";
    EXPECT_TRUE(Contains(Run("Echo", {"--file", folder / "table.csv"}).out, note));
    EXPECT_FALSE(Contains(Run("Dialog", {"-p", "file:bool=true", "--file", folder / "table.csv"}).out, note));
}

TEST_F(RunCommand, OpensRealWindowsOnlyWithADisplay) {
    EXPECT_EQ(Run("Echo", {"--gui"}, {"QT_QPA_PLATFORM=offscreen"}).status, 0);
    const test::StEnd end = Run("Echo", {"--gui"}, {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"});
    EXPECT_EQ(end.status, 2);
    ExpectOneErrorLine(end);
}

// Ctrl-C

namespace {

/// Reads one byte that the Slow plug-in writes; waits for it.
char Notice(int fifo) {
    char notice = 0;
    EXPECT_EQ(read(fifo, &notice, 1), 1);
    return notice;
}

} // namespace

TEST_F(RunCommand, EndsWith130AndNoFilesAfterCtrlC) {
    const std::string fifo = folder / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    auto options = Reporting();
    options.insert(options.end(), {"-p", "notices:string=" + fifo, "-o", folder / "a.nrrd"});
    test::CCommandLine program(Words("Slow", options));
    const int notices = open(fifo.c_str(), O_RDONLY);
    EXPECT_EQ(Notice(notices), 'r');
    program.Interrupt();
    EXPECT_EQ(Notice(notices), 'c');
    close(notices);
    const test::StEnd end = program.Wait();
    EXPECT_EQ(end.status, 130);
    EXPECT_EQ(end.err, "quillon: cancelled; nothing was written\n");
    EXPECT_EQ(end.out, "");
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"fifo", "in.nrrd", "report.json"}));
    EXPECT_EQ(Report()["cancelled"], true);
    EXPECT_EQ(Report()["documents"].size(), 1u);
}

TEST_F(RunCommand, EndsAtOnceAfterASecondCtrlC) {
    const std::string fifo = folder / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    test::CCommandLine program(
        Words("Slow", {"-p", "notices:string=" + fifo, "-p", "stubborn:bool=true", "-o", folder / "a.nrrd"}));
    const int notices = open(fifo.c_str(), O_RDONLY);
    EXPECT_EQ(Notice(notices), 'r');
    program.Interrupt();
    EXPECT_EQ(Notice(notices), 'c');
    program.Interrupt();
    EXPECT_EQ(program.Wait().status, 130);
    close(notices);
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"fifo", "in.nrrd"}));
}

TEST_F(RunCommand, SaysAfterCtrlCThatOnlyASecondOneEndsWhatCannotBeCancelled) {
    const std::string fifo = folder / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    for (const auto& [plugin, notice] :
         {std::pair{"GaussFilter", ""},
          std::pair{"LinearDt",
                    "quillon: LinearDt cannot be cancelled in all parts of its work; if it goes on, a "
                    "second Ctrl-C ends the program at once\n"},
          std::pair{"LocalEulerNumber",
                    "quillon: LocalEulerNumber cannot be cancelled; a second Ctrl-C ends the program at "
                    "once\n"}}) {
        test::CCommandLine program(Words(plugin, {"-p", "notices:string=" + fifo, "-p", "stubborn:bool=true",
                                                  "-o", folder / "a.nrrd"}),
                                   {std::string("TEST_PACK_SLOW=") + plugin});
        const int notices = open(fifo.c_str(), O_RDONLY);
        EXPECT_EQ(Notice(notices), 'r');
        program.Interrupt();
        EXPECT_EQ(Notice(notices), 'c'); // and goes on
        program.Interrupt();
        const test::StEnd end = program.Wait();
        close(notices);
        EXPECT_EQ(end.status, 130);
        EXPECT_EQ(end.err, notice);
    }
}
