#include "cli/ChainFixture.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <sstream>

namespace {

using nlohmann::json;
using test::StEnd;

class ChainCommand : public test::ChainFixture {
protected:
    static constexpr const char* twoSteps =
        R"({"id": "smooth", "plugin": "GaussFilter", "parameters": {"sigma": 1}},
           {"id": "mask", "plugin": "SegmNiblack", "input": "smooth", "output": "mask.nrrd",
            "parameters": {"windowsize": 1}})";
};

/// What the packs beside the program can do; the second one is not part of every build.
bool HasSecondPack() { return test::Quillon({"describe", "LabelMeasurements"}).status == 0; }

} // namespace

TEST_F(ChainCommand, RunsItsStepsAndSaysSo) {
    const StEnd end = RunChain(twoSteps, {"in.nrrd", "-o", "out.nrrd"});
    EXPECT_EQ(end.err, "");
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(Timeless(end.out), "smooth: GaussFilter on in.nrrd: done in T\n"
                                 "  result 'in.nrrd', greyf, 5 x 3 x 2, spacing 1 x 1 x 1\n"
                                 "mask: SegmNiblack on the result of step 'smooth': done in T\n"
                                 "  result 'in.nrrd', binary, 5 x 3 x 2, spacing 1 x 1 x 1, foreground 60.0 "
                                 "%, written to mask.nrrd and out.nrrd\n");
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"chain.json", "in.nrrd", "mask.nrrd", "out.nrrd"}));
    const StEnd quiet = RunChain(twoSteps, {"in.nrrd", "-o", "out.nrrd", "--quiet"});
    EXPECT_EQ(quiet.out + quiet.err, "");
}

TEST_F(ChainCommand, NeedsAnImageAndAnOutput) {
    const StEnd noImage = RunChain(twoSteps, {"-o", "out.nrrd"});
    EXPECT_EQ(noImage.status, 2);
    EXPECT_EQ(noImage.err, "quillon: step 'smooth': no image is named for it; name one, or give the step an "
                           "\"input\"\n");
    const StEnd noOutput = RunChain(R"({"id": "a", "plugin": "Echo"})", {"in.nrrd"});
    EXPECT_EQ(noOutput.status, 2);
    EXPECT_EQ(noOutput.err, "quillon: nothing would be written: give -o RESULT, or a step an \"output\"\n");
}

TEST_F(ChainCommand, PutsTheImageIntoThePlaceOfTheFirstInput) {
    const StEnd end = RunChain(R"({"id": "a", "plugin": "Measure", "input": "scan"},
                                  {"id": "b", "plugin": "Watershed", "input": "scan",
                                   "parameters": {"type": "marker"}, "images": {"markerimage": "scan"}})",
                               {"in.nrrd", "-o", "out.nrrd", "--quiet"});
    EXPECT_EQ(end.err, "");
    EXPECT_EQ(end.status, 0);
}

TEST_F(ChainCommand, ChecksEverythingBeforeItWrites) {
    const StEnd end = RunChain(R"({"id": "a", "plugin": "Echo", "output": "a.nrrd"},
                                  {"id": "b", "plugin": "Watershed", "input": "a", "parameters": {"typ": 1}})",
                               {"in.nrrd", "-o", "out.nrrd"});
    EXPECT_EQ(end.status, 2);
    EXPECT_EQ(end.out, "");
    EXPECT_EQ(end.err, "quillon: step 'b': unknown parameter 'typ'; the nearest key is 'type'\n");
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"chain.json", "in.nrrd"}));
}

TEST_F(ChainCommand, OnlyChecksIfAsked) {
    const StEnd end = RunChain(twoSteps, {"in.nrrd", "-o", "out.nrrd", "--check"});
    EXPECT_EQ(end.out + end.err, "");
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"chain.json", "in.nrrd"}));
}

TEST_F(ChainCommand, EndsAsRunDoes) {
    const std::string echo = R"({"id": "a", "plugin": "Echo", "output": "a.nrrd"},)";
    const StEnd raised = RunChain(echo + R"({"id": "b", "plugin": "Raise", "input": "a"})", {"in.nrrd"});
    EXPECT_EQ(raised.status, 1);
    EXPECT_EQ(raised.err, "quillon: step 'b': Raise says: this image is cursed\n");
    const std::string mask = R"({"id": "a", "plugin": "SegmNiblack", "parameters": {"windowsize": 1}},)";
    const StEnd refused = RunChain(mask + R"({"id": "b", "plugin": "SegmNiblack", "input": "a"})",
                                   {"in.nrrd", "-o", "out.nrrd", "--quiet"});
    EXPECT_EQ(refused.status, 3);
    EXPECT_EQ(
        refused.err,
        "quillon: step 'b': SegmNiblack does not take the result of step 'a' (binary, 5 x 3 x 2); it takes "
        "grey8, grey16, grey32 or greyf of 2 or 3 dimensions, at least 2 pixels along each axis; it is "
        "binary: a step before has to make it grey8\n");
    const StEnd missing = RunChain(echo + R"({"id": "b", "plugin": "Echo", "input": "b.nrrd"})", {"in.nrrd"});
    EXPECT_EQ(missing.status, 4);
    EXPECT_EQ(missing.err, "quillon: step 'b': 'b.nrrd' is neither a step nor a file\n");
    std::ofstream(folder / "chain.json") << "[";
    const StEnd text = Run({"chain", "chain.json", "in.nrrd"});
    EXPECT_EQ(text.status, 4);
    EXPECT_EQ(text.err, "quillon: 'chain.json' is not valid JSON\n");
    const StEnd box = RunChain(R"({"id": "a", "plugin": "Dialog", "answers": {"nobody": "x"}})",
                               {"in.nrrd", "-o", "o.nrrd"});
    EXPECT_EQ(box.status, 2);
    EXPECT_EQ(box.err, "quillon: step 'a': no dialog had an input named 'nobody', so the plug-in ran without "
                       "that answer\n");
}

TEST_F(ChainCommand, ReplacesAnInputOnlyWhenTold) {
    const std::string echo = R"({"id": "a", "plugin": "Echo"})";
    const StEnd refused = RunChain(echo, {"in.nrrd", "-o", "in.nrrd"});
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.err, "quillon: 'in.nrrd' is also an input; give --overwrite to replace it\n");
    EXPECT_EQ(RunChain(echo, {"in.nrrd", "-o", "in.nrrd", "--overwrite", "--quiet"}).status, 0);
}

TEST_F(ChainCommand, AnswersDialogsAndWritesFurtherResults) {
    const StEnd end = RunChain(R"({"id": "a", "plugin": "Dialog", "answers": {"name_edit": "Ada",
                                   "choice:certain": "true"}}, {"id": "b", "plugin": "Echo", "input": "a"})",
                               {"in.nrrd", "-o", "1.nrrd", "-o", "2.nrrd", "-o", "3.nrrd"});
    EXPECT_EQ(end.err, "");
    EXPECT_EQ(Timeless(end.out), "a: Dialog on in.nrrd: done in T\n"
                                 "  result 'answered', grey8, 5 x 3 x 2\n"
                                 "  Answer: Ada for sure\n"
                                 "b: Echo on the result of step 'a': done in T\n"
                                 "  result 'first', grey8, 5 x 3 x 2, written to 1.nrrd\n"
                                 "  result 'second', grey8, 5 x 3 x 2, written to 2.nrrd\n"
                                 "Nothing was written to 3.nrrd: the plug-in delivered 2 results.\n");
}

TEST_F(ChainCommand, SaysWhatWasWrittenBeforeItWasCancelled) {
    const std::string notices = folder / "notices";
    ASSERT_EQ(mkfifo(notices.c_str(), 0600), 0);
    std::ofstream(folder / "chain.json")
        << R"({"quillon": 1, "steps": [{"id": "a", "plugin": "Echo", "output": ")" << folder / "a.nrrd"
        << R"("}, {"id": "b", "plugin": "Slow", "input": "a", "parameters": {"notices": ")" << notices
        << "\"}}]}";
    test::CCommandLine program(
        {"chain", folder / "chain.json", folder / "in.nrrd", "--pack", QUILLON_TEST_PACK, "--quiet"});
    const int file = open(notices.c_str(), O_RDONLY);
    char notice = 0;
    ASSERT_EQ(read(file, &notice, 1), 1);
    program.Interrupt();
    const StEnd end = program.Wait();
    close(file);
    EXPECT_EQ(end.status, 130);
    EXPECT_EQ(end.err, "quillon: step 'b': cancelled; written before: " + folder / "a.nrrd" + "\n");
}

// The page

TEST_F(ChainCommand, DoesWhatItsPageShows) {
    if (!HasSecondPack())
        GTEST_SKIP() << "the second pack is not part of this build";
    const std::string root = QUILLON_TEST_DATA "/../..";
    std::istringstream page(test::ReadText(root + "/docs/chains.md"));
    std::string shown;
    std::vector<std::string> commands;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with("    $ quillon "))
            commands.push_back(line.substr(14));
        else if (line.starts_with("    ") && commands.empty())
            shown += line.substr(4) + "\n";
    }
    EXPECT_EQ(shown, test::ReadText(root + "/docs/chains/pores.json"));
    ASSERT_EQ(commands.size(), 5u);
    for (const std::string& command : commands) {
        const StEnd end = test::QuillonInShell("cd '" + folder / "" + "' && ln -sf '" + root + "/docs' '" +
                                                   root + "/tests' . && exec \"$@\" " + command,
                                               {});
        EXPECT_EQ(end.status, 0) << command << ": " << end.err;
        EXPECT_EQ(end.err, "") << command;
    }
    const auto measured = engine::ReadImage(folder / "measured.nrrd");
    EXPECT_TRUE(measured->Attributes().HasEntry("features/LabelMeasurements/object 01/grey value/mean"));
}
