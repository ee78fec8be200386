#include "engine/run/StRunEntry.h"

#include "engine/errors/CEngineError.h"
#include "engine/files/ImageFile.h"
#include "support/CEnvironmentVariable.h"
#include "support/CommandLine.h"
#include "support/Raised.h"
#include "support/TestImage.h"

#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <string>

using namespace engine;
using namespace ORVEN;

namespace {

StRunEntry Entry(const std::string& plugin, const std::string& time) {
    StRunEntry entry;
    entry.plugin = plugin;
    entry.time = time;
    return entry;
}

StRunInput File(const std::string& name, std::vector<StRunEntry> runs = {}) {
    return {{name, "hash of " + name, {}, std::nullopt}, std::move(runs)};
}

std::vector<StRunEntry> Complete() {
    StRunEntry first = Entry("Median", "2026-01-01T00:00:00Z");
    first.pack = "QuillonBasics";
    first.version = "1.0.0";
    first.program = "1.1.0";
    first.input.file = "gr\xc3\xb6\xc3\x9f"
                       "e.nrrd";
    first.input.hash = "12ab";
    first.input.reading.options.as = IMAGE_GREY_F;
    first.parameters = *CJson::Parse(R"({"advanced":{"x":0.5},"n":3,"nan":{"/double":"nan"},"on":true})");
    first.settings = *CJson::Parse(R"({"table":"t.lut"})");
    first.files["table"].file = "t.lut";
    first.files["table"].hash = "34";
    first.answers = {{"z", "1"}, {"choice:a", "2"}};
    first.isBare = first.isForced = first.hasUnknownAnswers = true;
    first.result = 2;
    StRunEntry second = Entry("Mask", "2026-01-02T00:00:00Z");
    second.input.run = 0;
    second.images["advanced/mask"].file = "m.nrrd";
    second.images["advanced/mask"].hash = "56";
    second.isConverted = true;
    return {first, second};
}

std::string Damage(const std::string& json) {
    return test::Raised<CFileError>([&] { (void)RunsOfJson(*CJson::Parse(json)); }).what();
}

} // namespace

TEST(RunEntry, StatesItsMembers) {
    EXPECT_EQ(ToJson(Complete()).Text(),
              R"([{"plugin":"Median","pack":"QuillonBasics","version":"1.0.0","program":"1.1.0",)"
              R"("time":"2026-01-01T00:00:00Z","input":{"file":"größe.nrrd","sha256":"12ab",)"
              R"("read":{"as":"greyf"}},"parameters":{"advanced":{"x":0.5},"n":3,"nan":{"/double":"nan"},)"
              R"("on":true},"settings":{"table":"t.lut"},"files":[{"file":"t.lut","sha256":"34",)"
              R"("key":"table"}],"answers":[{"key":"z","value":"1"},{"key":"choice:a","value":"2"}],)"
              R"("bare":true,"forced":true,"unknown_answers":true,"result":2},)"
              R"({"plugin":"Mask","pack":"","version":"","program":"","time":"2026-01-02T00:00:00Z",)"
              R"("input":{"run":0},"parameters":{},"images":[{"file":"m.nrrd","sha256":"56",)"
              R"("key":"advanced/mask"}],"converted":true}])");
}

TEST(RunEntry, SurvivesEveryFormatAndACopyOfAttributes) {
    const test::CTestFolder folder;
    const auto image = test::ImageOf<std::uint8_t>(IMAGE_GREY_8, {3, 2}, {1, 2, 3, 4, 5, 6});
    StoreRuns(*image, Complete());
    for (const char* name : {"a.nrrd", "a.mha", "a.mhd", "a.nii", "a.nii.gz", "a.tif", "a.png"}) {
        WriteImage(*image, folder / name);
        EXPECT_EQ(RunsOf(*ReadImage(folder / name)), Complete()) << name;
        EXPECT_EQ(RunsOf(*ReadImageOutline(folder / name).carrier), Complete()) << name;
    }
    const auto copy = test::ImageOf<std::uint8_t>(IMAGE_GREY_8, {3, 2}, {});
    CQuillonHeaderTools::SetAttributes(*copy, image->Attributes());
    EXPECT_EQ(RunsOf(*copy), Complete());
    EXPECT_TRUE(RunsOf(*test::ImageOf<std::uint8_t>(IMAGE_GREY_8, {3, 2}, {})).empty());
}

TEST(RunEntry, FollowsTheRunsOfItsInput) {
    const auto first = RunsWith(Entry("A", "1"), File("in"), {});
    ASSERT_EQ(first.size(), 1u);
    EXPECT_EQ(first[0].input.file, "in");
    EXPECT_FALSE(first[0].input.run);
    const auto second = RunsWith(Entry("B", "2"), File("a", first), {});
    ASSERT_EQ(second.size(), 2u);
    EXPECT_EQ(second[0], first[0]);
    EXPECT_EQ(second[1].plugin, "B");
    EXPECT_EQ(second[1].input.run, 0u);
    EXPECT_EQ(second[1].input.file, "a");
}

TEST(RunEntry, TakesRunsOfSeveralInputsOnceAndOldestFirst) {
    const auto shared = RunsWith(Entry("A", "1"), File("in"), {});
    const auto left = RunsWith(Entry("B", "4"), File("a", shared), {});
    const auto right = RunsWith(Entry("C", "3"), File("a", shared), {});
    const auto all = RunsWith(Entry("D", "5"), File("b", left), {{"mask", File("c", right)}});
    ASSERT_EQ(all.size(), 4u);
    std::string names;
    for (const StRunEntry& entry : all)
        names += entry.plugin;
    EXPECT_EQ(names, "ACBD");
    EXPECT_EQ(all[1].input.run, 0u);
    EXPECT_EQ(all[2].input.run, 0u);
    EXPECT_EQ(all[3].input.run, 2u);
    EXPECT_EQ(all[3].images.at("mask").run, 1u);
}

TEST(RunEntry, KeepsTheOrderOfWorkIfClocksContradictIt) {
    const auto first = RunsWith(Entry("A", "9"), File("in"), {});
    const auto second = RunsWith(Entry("B", "2"), File("a", first), {});
    const auto third = RunsWith(Entry("C", "1"), File("b", second), {});
    ASSERT_EQ(third.size(), 3u);
    EXPECT_EQ(third[0].plugin, "A");
    EXPECT_EQ(third[1].plugin, "B");
    EXPECT_EQ(third[1].input.run, 0u);
    EXPECT_EQ(third[2].plugin, "C");
    EXPECT_EQ(third[2].input.run, 1u);
}

TEST(RunEntry, StartsFromAFileThatWasReadOrConvertedWithChanges) {
    const auto first = RunsWith(Entry("A", "1"), File("in"), {});
    StRunInput cropped = File("a", first);
    cropped.source.reading.options.region = {{0, 1}, {0, 1}};
    const auto second = RunsWith(Entry("B", "2"), cropped, {});
    ASSERT_EQ(second.size(), 2u);
    EXPECT_FALSE(second[1].input.run);

    const auto image = test::ImageOf<std::uint8_t>(IMAGE_GREY_8, {1, 1}, {});
    MarkConverted(*image);
    EXPECT_TRUE(RunsOf(*image).empty());
    StoreRuns(*image, first);
    MarkConverted(*image);
    const auto third = RunsWith(Entry("B", "2"), File("a", RunsOf(*image)), {});
    ASSERT_EQ(third.size(), 2u);
    EXPECT_TRUE(third[0].isConverted);
    EXPECT_FALSE(third[1].input.run);
}

TEST(RunEntry, IsRefusedIfItIsDamaged) {
    const std::string damaged = "its record of runs is damaged: ";
    EXPECT_EQ(Damage("3"), damaged + "it is not a list");
    EXPECT_EQ(Damage("[3]"), damaged + "3 is not an object");
    EXPECT_EQ(Damage("[{}]"), damaged + "a run has no \"plugin\"");
    EXPECT_EQ(Damage(R"([{"plugin": 3}])"), damaged + "\"plugin\" is not a text");
    EXPECT_EQ(Damage(R"([{"plugin": "A", "input": {"run": 0}}])"),
              damaged + "an input is said to come from a later run");
    EXPECT_EQ(Damage(R"([{"plugin": "A", "input": {"run": "x"}}])"), damaged + "\"run\" is not an index");
    EXPECT_EQ(Damage(R"([{"plugin": "A", "images": {}}])"), damaged + "\"images\" is not a list");
    EXPECT_EQ(Damage(R"([{"plugin": "A", "parameters": []}])"), damaged + "\"parameters\" is not an object");
    EXPECT_EQ(Damage(R"([{"plugin": "A", "result": 0}])"), damaged + "results are counted from 1");
    EXPECT_EQ(Damage(R"([{"plugin": "A", "input": {"read": {"as": 1}}}])"),
              damaged + "\"as\": 1 is not binary, grey8, grey16, grey32 or greyf");
}

TEST(RunTime, IsUtcOrThatOfSourceDateEpoch) {
    {
        const test::CEnvironmentVariable date("SOURCE_DATE_EPOCH", "86400");
        EXPECT_EQ(RunTime(), "1970-01-02T00:00:00Z");
    }
    for (const char* none : {static_cast<const char*>(nullptr), "", "soon", "1x"}) {
        const test::CEnvironmentVariable date("SOURCE_DATE_EPOCH", none);
        EXPECT_GT(RunTime(), "2024-01-01T00:00:00Z");
        EXPECT_EQ(RunTime().size(), 20u);
    }
}
