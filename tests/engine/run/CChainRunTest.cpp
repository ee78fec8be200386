#include "engine/run/CChainRun.h"

#include "engine/errors/CEngineError.h"
#include "engine/files/ImageFile.h"
#include "engine/run/ImageDifference.h"
#include "engine/run/StRecordedChain.h"
#include "support/CommandLine.h"
#include "support/Raised.h"
#include "support/TestImage.h"

#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

using namespace engine;
using namespace ORVEN;

namespace {

/// Chains over the real pack and the test pack, on an image of 5 x 3 x 2 pixels of 8 bits.
class ChainRun : public testing::Test {
protected:
    ChainRun() {
        std::vector<std::uint8_t> pixels;
        for (int i = 0; i < 30; ++i)
            pixels.push_back(static_cast<std::uint8_t>(i * i % 251));
        WriteImage(*test::ImageOf<std::uint8_t>(IMAGE_GREY_8, {5, 3, 2}, pixels), image);
    }

    [[nodiscard]] StChain Chain(const std::string& steps, const std::string& more = "") const {
        StChain chain = ChainOf(*CJson::Parse(R"({"quillon": 1, "steps": [)" + steps + "]" + more + "}"));
        if (chain.steps.front().input.empty() || chain.steps.front().input == "IMAGE")
            ReplaceImage(chain, image);
        return chain;
    }

    StChainOutcome Run(const std::string& steps, const StChainOptions& options = {}) {
        return CChainRun(Chain(steps), packs, options).Run();
    }

    CEngineError Error(const std::string& steps, const StChainOptions& options = {}) {
        return test::Raised<CEngineError>([&] { (void)CChainRun(Chain(steps), packs, options); });
    }

    std::string Refusal(const std::string& steps, const StChainOptions& options = {}) {
        return Error(steps, options).what();
    }

    const test::CTestFolder folder;
    const std::string image = folder / "in.nrrd";
    CPackSet packs{{QUILLON_PACK, QUILLON_TEST_PACK}};
};

const char* const c_smooth = R"({"id": "smooth", "plugin": "GaussFilter", "parameters": {"sigma": 1}})";

} // namespace

// Checks

TEST_F(ChainRun, NamesTheStepWithAnUnknownPlugin) {
    EXPECT_EQ(Refusal(R"({"id": "a", "plugin": "GausFilter"})"),
              "step 'a': there is no plug-in 'GausFilter'; the nearest name is 'GaussFilter'");
    EXPECT_EQ(Refusal(R"({"id": "a", "plugin": "Echo", "pack": "QuillonPack"})"),
              "step 'a': the pack QuillonPack does not provide 'Echo'");
    EXPECT_EQ(Refusal(R"({"id": "a", "plugin": "Echo", "pack": "Other"})"),
              "step 'a': there is no pack 'Other'; the packs are QuillonPack, QuillonTestPack");
}

TEST_F(ChainRun, NamesTheStepWithAnUnknownParameterOrValue) {
    const std::string start = R"({"id": "a", "plugin": "Watershed", )";
    EXPECT_EQ(Refusal(start + R"("parameters": {"typ": "normal"}})"),
              "step 'a': unknown parameter 'typ'; the nearest key is 'type'");
    EXPECT_EQ(Refusal(start + R"("parameters": {"type": "norma"}})"),
              "step 'a': type='norma' is not one of normal, preflood, marker; did you mean 'normal'?");
    EXPECT_EQ(Refusal(start + R"("parameters": {"type": 3}})"),
              "step 'a': type=3 is a long; Watershed takes a string");
    EXPECT_EQ(Refusal(start + R"("parameters": {"type": null}})"),
              "step 'a': parameter 'type': null is not a value");
    EXPECT_EQ(Refusal(start + R"("parameters": {"type": "marker"}})"),
              "step 'a': type='marker' needs markerimage, which is missing; state it under \"images\"");
    EXPECT_EQ(Refusal(start + R"("parameters": {"markerimage": "b.nrrd"}})"),
              "step 'a': parameter 'markerimage' is an image; name it under \"images\"");
    EXPECT_EQ(Refusal(start + R"("images": {"type": "b.nrrd"}})"),
              "step 'a': parameter 'type' is no image; state it under \"parameters\"");
    EXPECT_EQ(Refusal(start + R"("settings": {"x": 1}})"),
              "step 'a': unknown setting 'x'; the plug-in has none");
    EXPECT_EQ(Error(start + R"("settings": {"x": 1}})").Fault(), EnFault::CALLER);
}

TEST_F(ChainRun, NamesTheStepWhoseInputIsNeitherStepNorFile) {
    const std::string first = std::string(c_smooth) + ", ";
    EXPECT_EQ(Refusal(first + R"({"id": "b", "plugin": "Echo", "input": "smoth"})"),
              "step 'b': 'smoth' is neither a step nor a file; did you mean 'smooth'?");
    EXPECT_EQ(Error(first + R"({"id": "b", "plugin": "Echo", "input": "smoth"})").Fault(), EnFault::FILE);
    EXPECT_EQ(Refusal(first + R"({"id": "b", "plugin": "Echo", "input": "smooth#2"})"),
              "step 'b': there is no 'smooth#2': GaussFilter makes at most 1 image");
    EXPECT_EQ(Refusal(first + R"({"id": "b", "plugin": "Echo", "input": "smooth", "read": {"channel": 1}})"),
              "step 'b': \"read\" is for files, and 'smooth' is the result of a step");
    std::ofstream(folder / "text.nrrd") << "text";
    EXPECT_EQ(Refusal(first + R"({"id": "b", "plugin": "Echo", "input": ")" + folder / "text.nrrd" + "\"}")
                  .rfind("step 'b': cannot read '" + folder / "text.nrrd" + "': ", 0),
              0u);
    StChain chain = Chain(c_smooth);
    chain.steps.front().input.clear();
    EXPECT_STREQ(test::Raised<CCallerError>([&] { (void)CChainRun(chain, packs, {}); }).what(),
                 "step 'smooth': no image is named for it; name one, or give the step an \"input\"");
}

TEST_F(ChainRun, NamesCircles) {
    EXPECT_EQ(Refusal(R"({"id": "a", "plugin": "Echo", "input": "a"})"),
              "step 'a': it needs its own result: 'a' needs 'a'");
    EXPECT_EQ(Refusal(R"({"id": "a", "plugin": "Echo", "input": "c"},
                         {"id": "b", "plugin": "Echo", "input": "a"},
                         {"id": "c", "plugin": "Echo", "input": "b#2"})"),
              "step 'a': it needs its own result: 'a' needs 'c', which needs 'b', which needs 'a'");
    EXPECT_EQ(Refusal(R"({"id": "a", "plugin": "Watershed", "images": {"markerimage": "b"}},
                         {"id": "b", "plugin": "Echo", "input": "a"})"),
              "step 'a': it needs its own result: 'a' needs 'b', which needs 'a'");
    EXPECT_EQ(Refusal(R"({"id": "a", "plugin": "Echo", "input": "b"},
                         {"id": "b", "plugin": "Echo", "input": "IMAGE"})"),
              "step 'a': 'b' is the result of a later step; put that step first");
}

TEST_F(ChainRun, NamesTheStepWhoseOutputCannotBe) {
    const auto echo = [](const std::string& id, const std::string& output) {
        return R"({"id": ")" + id + R"(", "plugin": "Echo", "input": "IMAGE", "output": ")" + output + "\"}";
    };
    const std::string out = folder / "o.nrrd";
    EXPECT_EQ(Refusal(echo("a", folder / "o.gif")),
              "step 'a': cannot write '" + folder / "o.gif" +
                  "': its name must end in .nrrd, .mha, .mhd, .nii, .nii.gz, .tif, .tiff or .png");
    EXPECT_EQ(Refusal(echo("a", folder / "none/o.nrrd")),
              "step 'a': cannot write '" + folder / "none/o.nrrd" + "': there is no folder '" +
                  folder / "none" + "'");
    StChain twice = Chain(echo("a", out) + "," + echo("b", folder / "./o.nrrd"));
    ReplaceImage(twice, image);
    EXPECT_EQ(test::Raised<CEngineError>([&] { (void)CChainRun(twice, packs, {}); }).what(),
              "step 'b': '" + folder / "./o.nrrd" +
                  "' would be written twice; give each output a name of its own");
    EXPECT_EQ(Refusal(echo("a", out), {{out}, {}, false, false}),
              "'" + out + "' would be written twice; give each output a name of its own");
    EXPECT_EQ(Refusal(echo("a", image)),
              "step 'a': '" + image + "' is also an input; give --overwrite to replace it");
    EXPECT_EQ(Refusal(echo("a", out), {{image}, {}, false, false}),
              "'" + image + "' is also an input; give --overwrite to replace it");
    EXPECT_EQ(Refusal(R"({"id": "a", "plugin": "GaussFilter", "output": ")" + folder / "o.png" + "\"}"),
              "step 'a': cannot write '" + folder / "o.png" +
                  "': PNG holds planes, and the image is a volume; use .nrrd");
    EXPECT_EQ(Refusal(R"({"id": "a", "plugin": "GranulometryExport"})"),
              "step 'a': GranulometryExport writes a table: name one file as \"output\"");
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"in.nrrd"});
}

TEST_F(ChainRun, WarnsOfAParameterWithoutEffect) {
    const CChainRun run(Chain(R"({"id": "a", "plugin": "Watershed", "parameters": {"nParameter": 7}})"),
                        packs, {});
    ASSERT_EQ(run.Warnings().size(), 1u);
    EXPECT_EQ(run.Warnings().front().rfind("step 'a': nParameter=7 has no effect", 0), 0u)
        << run.Warnings().front();
}

// Runs

TEST_F(ChainRun, GivesWhatSeparateRunsGive) {
    const std::string a = folder / "a.nrrd";
    const std::string b = folder / "b.nrrd";
    ASSERT_TRUE(Run(c_smooth, {{a}, {}, false, false}).result);
    ASSERT_TRUE(Run(R"({"id": "mask", "plugin": "SegmNiblack", "input": ")" + a +
                        R"(", "parameters": {"windowsize": 1}})",
                    {{b}, {}, false, false})
                    .result);
    const StChainOutcome whole = Run(
        std::string(c_smooth) +
        R"(, {"id": "mask", "plugin": "SegmNiblack", "input": "smooth", "parameters": {"windowsize": 1}})");
    ASSERT_TRUE(whole.result);
    EXPECT_EQ(FirstDifference(*ReadImage(b), "separate runs", *whole.result, "the chain").value_or("none"),
              "none");
    const auto runs = RunsOf(*whole.result);
    ASSERT_EQ(runs.size(), 2u);
    EXPECT_EQ(runs[0].input.file, image);
    EXPECT_EQ(runs[0].parameters.Text(), R"({"sigma":1.0})");
    EXPECT_EQ(runs[1].input.file, "");
    EXPECT_EQ(runs[1].input.run, 0u);
}

TEST_F(ChainRun, UsesResultsOfEarlierStepsAsImages) {
    const StChainOutcome outcome = Run(R"({"id": "seeds", "plugin": "Watershed"},
        {"id": "cells", "plugin": "Watershed", "input": ")" +
                                       image + R"(", "parameters": {"type": "marker"},
         "images": {"markerimage": "seeds"}})");
    ASSERT_TRUE(outcome.result);
    const auto runs = RunsOf(*outcome.result);
    ASSERT_EQ(runs.size(), 2u);
    EXPECT_EQ(runs[1].images.at("markerimage").run, 0u);
    EXPECT_EQ(runs[1].input.file, image);
}

TEST_F(ChainRun, LetsAMeasurementChangeNoOtherStep) {
    const std::string measured = folder / "m.nrrd";
    const StChainOutcome outcome =
        Run(R"({"id": "measure", "plugin": "Measure", "input": "IMAGE", "output": ")" + measured + R"("},
           {"id": "echo", "plugin": "Echo", "input": ")" +
            image + "\"}");
    ASSERT_TRUE(outcome.result);
    const std::string answer = CQuillonHeaderTools::c_sTagFeatures + "/Answer";
    EXPECT_TRUE(ReadImage(measured)->Attributes().HasEntry(answer));
    EXPECT_FALSE(outcome.result->Attributes().HasEntry(answer));
    EXPECT_EQ(RunsOf(*outcome.result).size(), 1u);
    const StChainOutcome passedOn = Run(
        R"({"id": "measure", "plugin": "Measure"}, {"id": "echo", "plugin": "Echo", "input": "measure"})");
    EXPECT_EQ(RunsOf(*passedOn.result).size(), 2u);
    EXPECT_EQ(outcome.written, std::vector<std::string>{measured});
}

TEST_F(ChainRun, TakesTheSecondResult) {
    const std::string one = folder / "1.nrrd";
    const std::string two = folder / "2.nrrd";
    const StChain chain =
        Chain(R"({"id": "a", "plugin": "Echo", "output": [")" + one + R"(", ")" + two + R"("]},
                                   {"id": "b", "plugin": "Echo", "input": "a#2"})",
              R"(, "result": "b#2")");
    const StChainOutcome outcome = CChainRun(chain, packs, {}).Run();
    ASSERT_TRUE(outcome.result);
    EXPECT_EQ(outcome.written, (std::vector<std::string>{one, two}));
    const auto runs = RunsOf(*outcome.result);
    ASSERT_EQ(runs.size(), 2u);
    EXPECT_EQ(runs[0].result, 2u);
    EXPECT_EQ(runs[1].result, 2u);
    EXPECT_EQ(RunsOf(*ReadImage(one)).back().result, 1u);
    const StRecordedChain recorded = ChainOfRuns(runs);
    EXPECT_EQ(recorded.chain.result, "step2#2");
    EXPECT_EQ(recorded.chain.steps[1].input, "step1#2");
}

TEST_F(ChainRun, StopsAtTheStepThatFails) {
    const std::string out = folder / "o.nrrd";
    const StChainOutcome outcome = Run(R"({"id": "a", "plugin": "Echo", "output": ")" + out + R"("},
                                          {"id": "b", "plugin": "Raise", "input": "a"},
                                          {"id": "c", "plugin": "Echo", "input": "b"})");
    EXPECT_FALSE(outcome.result);
    ASSERT_TRUE(outcome.stopped);
    EXPECT_EQ(outcome.stopped->step, 1u);
    EXPECT_EQ(EndOf(outcome.stopped->record), RUN_FAILED);
    EXPECT_EQ(outcome.stopped->imageName, "the result of step 'a'");
    EXPECT_EQ(outcome.written, std::vector<std::string>{out});
}

TEST_F(ChainRun, NamesTheStepThatDeliversTooLittle) {
    EXPECT_STREQ(test::Raised<CEngineError>([&] {
                     Run(R"({"id": "a", "plugin": "Dialog", "parameters": {"file": true}},
                            {"id": "b", "plugin": "Echo", "input": "a#2"})");
                 }).what(),
                 "step 'a': Dialog made one image, and image 2 is needed");
}
