#include "cli/ChainFixture.h"

#include <filesystem>

namespace {

using nlohmann::json;
using test::StEnd;

/// A result of two runs with their intermediate file.
class RepeatCommand : public test::ChainFixture {
protected:
    RepeatCommand() {
        EXPECT_EQ(Run({"run", "GaussFilter", "in.nrrd", "-p", "sigma=1", "-o", "smooth.nrrd"}).status, 0);
        EXPECT_EQ(Run({"run", "SegmNiblack", "smooth.nrrd", "-p", "windowsize=1", "-o", "mask.nrrd"}).status,
                  0);
    }

    [[nodiscard]] json Runs(const std::string& file) const {
        return json::parse(Run({"info", "--json", file}).out)["runs"];
    }

    [[nodiscard]] std::string HashOf(const std::string& file) const {
        const test::CTestFolder other;
        EXPECT_EQ(std::system(("sha256sum < '" + folder / file + "' > '" + other / "hash" + "'").c_str()), 0);
        return test::ReadText(other / "hash").substr(0, 64);
    }

    static constexpr const char* where = "; it is looked for from the working folder and beside the result\n";
};

} // namespace

TEST_F(RepeatCommand, FindsTheSameResult) {
    const StEnd end = Run({"repeat", "mask.nrrd"});
    EXPECT_EQ(end.err, "");
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(Timeless(end.out),
              "step1: GaussFilter on in.nrrd: done in T\n"
              "  result 'in.nrrd', greyf, 5 x 3 x 2, spacing 1 x 1 x 1\n"
              "step2: SegmNiblack on the result of step 'step1': done in T\n"
              "  result 'in.nrrd', binary, 5 x 3 x 2, spacing 1 x 1 x 1, foreground 60.0 %\n"
              "The result is identical to mask.nrrd.\n");
    const StEnd quiet = Run({"repeat", "mask.nrrd", "--quiet"});
    EXPECT_EQ(quiet.out + quiet.err, "");
    EXPECT_EQ(quiet.status, 0);
}

TEST_F(RepeatCommand, NeedsNoIntermediateFileAndWritesNothing) {
    std::filesystem::remove(folder / "smooth.nrrd");
    EXPECT_EQ(Run({"repeat", "mask.nrrd"}).status, 0);
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"in.nrrd", "mask.nrrd"}));
    EXPECT_EQ(Run({"repeat", "mask.nrrd", "-o", "again.nrrd"}).status, 0);
    EXPECT_EQ(Run({"repeat", "again.nrrd"}).status, 0);
}

TEST_F(RepeatCommand, NamesTheFirstPixelThatDiffers) {
    auto image = engine::ReadImage(folder / "mask.nrrd");
    const ORVEN::CImageView<std::uint8_t> view(*image);
    const int before = view.Row(1, 1)[2];
    view.Row(1, 1)[2] ^= 1;
    view.Row(2, 1)[4] ^= 1;
    engine::WriteImage(*image, folder / "mask.nrrd");
    const StEnd end = Run({"repeat", "mask.nrrd", "--quiet"});
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(end.err, "quillon: the results differ: the pixel at (2, 1, 1) is " +
                           std::to_string(1 - before) + " in 'mask.nrrd' and " + std::to_string(before) +
                           " in the repeated run\n");
}

TEST_F(RepeatCommand, NamesAnInputThatHasChangedOrIsMissing) {
    const std::string before = HashOf("in.nrrd");
    WriteInput(127);
    const StEnd changed = Run({"repeat", "mask.nrrd"});
    EXPECT_EQ(changed.status, 4);
    EXPECT_EQ(changed.out, "");
    EXPECT_EQ(changed.err,
              "quillon: cannot repeat 'mask.nrrd': the input 'in.nrrd' has changed: its SHA-256 is " +
                  HashOf("in.nrrd") + ", and was " + before + "\n");
    std::filesystem::remove(folder / "in.nrrd");
    const StEnd missing = Run({"repeat", "mask.nrrd"});
    EXPECT_EQ(missing.status, 4);
    EXPECT_EQ(missing.err,
              std::string("quillon: cannot repeat 'mask.nrrd': the input 'in.nrrd' is missing") + where);
}

TEST_F(RepeatCommand, FindsInputsBesideTheResult) {
    EXPECT_EQ(test::Quillon({"repeat", folder / "mask.nrrd", "--pack", QUILLON_PACK}).status, 0);
}

TEST_F(RepeatCommand, RefusesAFileWithoutRuns) {
    const StEnd end = Run({"repeat", "in.nrrd"});
    EXPECT_EQ(end.status, 4);
    EXPECT_EQ(end.err,
              "quillon: cannot repeat 'in.nrrd': no run is on record in it; it was not made by 'quillon "
              "run' or 'quillon chain'\n");
    const StEnd chain = Run({"info", "--chain", "in.nrrd"});
    EXPECT_EQ(chain.status, 4);
    EXPECT_EQ(chain.err, "quillon: 'in.nrrd': no run is on record in it; it was not made by 'quillon run' or "
                         "'quillon chain'\n");
}

TEST_F(RepeatCommand, AppliesTheRunsToAnotherImage) {
    std::filesystem::rename(folder / "in.nrrd", folder / "old.nrrd");
    WriteInput(127);
    std::filesystem::rename(folder / "in.nrrd", folder / "new.nrrd");
    const StEnd noOutput = Run({"repeat", "mask.nrrd", "--on", "new.nrrd"});
    EXPECT_EQ(noOutput.status, 2);
    EXPECT_EQ(noOutput.err, "quillon: --on IMAGE makes another result: give -o FILE to keep it\n");
    const StEnd end = Run({"repeat", "mask.nrrd", "--on", "new.nrrd", "-o", "other.nrrd"});
    EXPECT_EQ(end.err, "");
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(Runs("other.nrrd")[0]["input"]["file"], "new.nrrd");
    EXPECT_EQ(Run({"repeat", "other.nrrd", "--quiet"}).status, 0);
    const StEnd same = Run({"repeat", "mask.nrrd", "--on", "new.nrrd", "-o", "mask.nrrd"});
    EXPECT_EQ(same.status, 2);
    EXPECT_EQ(same.err, "quillon: 'mask.nrrd' is also an input; give --overwrite to replace it\n");
}

TEST_F(RepeatCommand, RepeatsHowTheInputWasRead) {
    ASSERT_EQ(Run({"run", "Skeleton", "in.nrrd", "--as", "binary", "--region", "0:3,0:2,0:1", "--spacing",
                   "2,3,4", "-o", "s.nrrd"})
                  .status,
              0);
    const StEnd end = Run({"repeat", "s.nrrd", "--quiet"});
    EXPECT_EQ(end.err, "");
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(
        Runs("s.nrrd")[0]["input"]["read"],
        json::parse(R"({"as": "binary", "region": [[0, 3], [0, 2], [0, 1]], "spacing": [2.0, 3.0, 4.0]})"));
}

TEST_F(RepeatCommand, KnowsAnImageThatWasConvertedInBetween) {
    ASSERT_EQ(Run({"run", "Echo", "in.nrrd", "-o", "e.nrrd"}).status, 0);
    ASSERT_EQ(test::Quillon({"convert", folder / "e.nrrd", folder / "e.tif"}).status, 0);
    EXPECT_EQ(Run({"repeat", "e.tif", "--quiet"}).status, 0);
    ASSERT_EQ(test::Quillon({"convert", folder / "e.nrrd", folder / "f.nrrd", "--as", "greyf"}).status, 0);
    const StEnd end = Run({"repeat", "f.nrrd"});
    EXPECT_EQ(end.status, 4);
    EXPECT_EQ(end.err,
              "quillon: cannot repeat 'f.nrrd': 'quillon convert' has changed its type, its geometry or "
              "its size since the last run\n");
    ASSERT_EQ(Run({"run", "Echo", "f.nrrd", "-o", "g.nrrd"}).status, 0);
    EXPECT_EQ(Run({"repeat", "g.nrrd", "--quiet"}).status, 0);
    EXPECT_EQ(Runs("g.nrrd").size(), 2u);
}

// The record

TEST_F(RepeatCommand, RunsAreOnRecord) {
    const json runs = Runs("mask.nrrd");
    ASSERT_EQ(runs.size(), 2u);
    EXPECT_EQ(runs[0]["plugin"], "GaussFilter");
    EXPECT_EQ(runs[0]["pack"], "QuillonPack");
    EXPECT_EQ("quillon " + runs[0]["program"].get<std::string>() + "\n", test::Quillon({"--version"}).out);
    EXPECT_EQ(runs[0]["parameters"]["sigma"], 1.0);
    EXPECT_EQ(runs[0]["input"], json({{"file", "in.nrrd"}, {"sha256", HashOf("in.nrrd")}}));
    EXPECT_EQ(runs[1]["input"],
              json({{"file", "smooth.nrrd"}, {"sha256", HashOf("smooth.nrrd")}, {"run", 0}}));
    EXPECT_EQ(runs[1]["time"].get<std::string>().size(), 20u);
}

TEST_F(RepeatCommand, InfoShowsRuns) {
    ASSERT_EQ(Run({"run", "Echo", "in.nrrd", "-p", "n:long=3", "-o", "e.nrrd"}, "SOURCE_DATE_EPOCH=0").status,
              0);
    const std::string text = Run({"info", "e.nrrd"}).out;
    EXPECT_NE(text.find("\nruns        1 Echo of QuillonTestPack"), std::string::npos) << text;
    EXPECT_NE(text.find(" on in.nrrd, 1970-01-01T00:00:00Z\n"
                        "                parameters {\"n\":3}\n"
                        "                input in.nrrd, SHA-256 " +
                        HashOf("in.nrrd") + "\n"),
              std::string::npos)
        << text;
}

TEST_F(RepeatCommand, FilesAreTheSameByteByByteAtAGivenDate) {
    for (const char* name : {"1.nrrd", "2.nrrd"})
        ASSERT_EQ(Run({"run", "Echo", "in.nrrd", "-o", name}, "SOURCE_DATE_EPOCH=1700000000").status, 0);
    EXPECT_EQ(test::ReadText(folder / "1.nrrd"), test::ReadText(folder / "2.nrrd"));
}

TEST_F(RepeatCommand, TheChainOfAFileMakesItAgain) {
    const StEnd printed = Run({"info", "--chain", "mask.nrrd"});
    ASSERT_EQ(printed.status, 0);
    std::ofstream(folder / "chain.json") << printed.out;
    EXPECT_EQ(Run({"chain", "chain.json", "-o", "again.nrrd", "--quiet"}).status, 0);
    EXPECT_EQ(Run({"repeat", "again.nrrd", "--quiet"}).status, 0);
    const auto first = engine::ReadImage(folder / "mask.nrrd");
    const auto second = engine::ReadImage(folder / "again.nrrd");
    EXPECT_EQ(test::PixelsOf<std::uint8_t>(*first), test::PixelsOf<std::uint8_t>(*second));
}

TEST_F(RepeatCommand, ADamagedRecordDisturbsNoRun) {
    auto image = engine::ReadImage(folder / "in.nrrd");
    image->Attributes().SetEntry("runs/x", new ORVEN::CValueMap);
    engine::WriteImage(*image, folder / "in.nrrd");
    EXPECT_EQ(Run({"run", "Echo", "in.nrrd", "-o", "e.nrrd"}).status, 0);
    EXPECT_EQ(Runs("e.nrrd").size(), 1u);
    EXPECT_NE(
        Run({"info", "in.nrrd"}).out.find("runs        its record of runs is damaged: it is not a list\n"),
        std::string::npos);
    const StEnd end = Run({"repeat", "in.nrrd"});
    EXPECT_EQ(end.status, 4);
    EXPECT_EQ(end.err, "quillon: cannot repeat 'in.nrrd': its record of runs is damaged: it is not a list\n");
}
