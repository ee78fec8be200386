#include "engine/run/StRecordedChain.h"

#include "engine/errors/CEngineError.h"
#include "engine/files/ContentHash.h"
#include "engine/files/ImageFile.h"
#include "support/CommandLine.h"
#include "support/Raised.h"
#include "support/TestImage.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

using namespace engine;

namespace {

/// A, on the file "in"; B, which no one needs; C, on the result of A with the file "mask" and the setting
/// "lut".
std::vector<StRunEntry> Runs() {
    std::vector<StRunEntry> runs(3);
    runs[0].plugin = "A";
    runs[0].pack = "P";
    runs[0].input = {"in", "hash of in", {}, std::nullopt};
    runs[0].parameters = *CJson::Parse(R"({"n":1})");
    runs[1].plugin = "B";
    runs[1].input.run = 0;
    runs[2].plugin = "C";
    runs[2].input = {"a", "hash of a", {}, 0};
    runs[2].images["mask"] = {"mask", "hash of mask", {}, std::nullopt};
    runs[2].images["same"] = {"in", "hash of in", {}, std::nullopt};
    runs[2].settings = *CJson::Parse(R"({"lut":"t.lut"})");
    runs[2].files["lut"] = {"t.lut", "hash of t.lut", {}, std::nullopt};
    return runs;
}

std::string Refusal(const std::vector<StRunEntry>& runs) {
    return test::Raised<CFileError>([&] { (void)ChainOfRuns(runs); }).what();
}

} // namespace

TEST(RecordedChain, HasTheRunsThatAreNeeded) {
    const StRecordedChain recorded = ChainOfRuns(Runs());
    EXPECT_EQ(
        ToJson(recorded.chain).Text(),
        R"({"quillon":1,"steps":[{"id":"step1","plugin":"A","pack":"P","input":"in","parameters":{"n":1}},)"
        R"({"id":"step2","plugin":"C","input":"step1","images":{"mask":"mask","same":"in"},)"
        R"("settings":{"lut":"t.lut"}}]})");
    std::string files;
    for (const StRecordedFile& file : recorded.files)
        files += file.name + ": " + file.hash + "; ";
    EXPECT_EQ(files, "in: hash of in; mask: hash of mask; t.lut: hash of t.lut; ");
}

TEST(RecordedChain, SaysWhyRunsCannotBeRepeated) {
    EXPECT_EQ(Refusal({}), "no run is on record in it; it was not made by 'quillon run' or 'quillon chain'");
    auto runs = Runs();
    runs[0].hasUnknownAnswers = true;
    EXPECT_EQ(Refusal(runs),
              "run 1 on record, A, cannot be repeated: its dialogs were answered on the screen, or "
              "cancelled");
    runs = Runs();
    runs[2].images["mask"].file.clear();
    EXPECT_EQ(Refusal(runs), "run 3 on record, C, cannot be repeated: an input was an image in memory");
    runs = Runs();
    runs[2].isConverted = true;
    EXPECT_EQ(Refusal(runs),
              "'quillon convert' has changed its type, its geometry or its size since the last run");
}

TEST(RecordedChain, TakesAnotherImageWhereverTheFirstOneWasUsed) {
    StRecordedChain recorded = ChainOfRuns(Runs());
    ReplaceImage(recorded, "new");
    EXPECT_EQ(recorded.chain.steps[0].input, "new");
    EXPECT_EQ(recorded.chain.steps[1].input, "step1");
    EXPECT_EQ(recorded.chain.steps[1].images[0].second, "mask");
    EXPECT_EQ(recorded.chain.steps[1].images[1].second, "new");
    EXPECT_EQ(recorded.files.size(), 2u);
}

TEST(RecordedChain, NamesFilesThatAreMissingOrHaveChanged) {
    const test::CTestFolder folder;
    std::ofstream(folder / "mask") << "mask";
    std::ofstream(folder / "t.lut") << "table";
    StRecordedChain recorded = ChainOfRuns(Runs());
    for (StRecordedFile& file : recorded.files)
        file.name = folder / file.name;
    recorded.files[2].hash = ContentHash({folder / "t.lut"});
    const std::vector<std::string> changes = ChangesOfFiles(recorded);
    ASSERT_EQ(changes.size(), 2u);
    EXPECT_EQ(changes[0], "the input '" + folder / "in" +
                              "' is missing; it is looked for from the working folder and beside the result");
    EXPECT_EQ(changes[1], "the input '" + folder / "mask" + "' has changed: its SHA-256 is " +
                              ContentHash({folder / "mask"}) + ", and was hash of mask");
}

TEST(RecordedChain, FindsFilesBesideTheResult) {
    const test::CTestFolder folder;
    std::ofstream(folder / "in") << "x";
    StRecordedChain recorded = ChainOfRuns(Runs());
    LocateFiles(recorded, folder / "result.nrrd");
    EXPECT_EQ(recorded.files[0].name, folder / "in");
    EXPECT_EQ(recorded.chain.steps[0].input, folder / "in");
    EXPECT_EQ(recorded.chain.steps[1].images[1].second, folder / "in");
    EXPECT_EQ(recorded.files[1].name, "mask");
    EXPECT_EQ(recorded.chain.steps[1].images[0].second, "mask");
}
