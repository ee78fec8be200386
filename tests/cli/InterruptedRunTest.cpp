#include "support/RunFixture.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

// The program is held inside a plug-in, which says over a FIFO how far it has come, while real signals reach
// it.

namespace {

class InterruptedRun : public test::RunFixture {
protected:
    InterruptedRun() {
        if (mkfifo(fifo.c_str(), 0600) != 0)
            throw std::runtime_error("no FIFO for the test");
    }

    /// Waits for the next byte that the plug-in writes.
    char Notice() {
        if (m_notices < 0)
            m_notices = open(fifo.c_str(), O_RDONLY);
        char notice = 0;
        EXPECT_EQ(read(m_notices, &notice, 1), 1);
        return notice;
    }

    ~InterruptedRun() override {
        if (m_notices >= 0)
            close(m_notices);
    }

    [[nodiscard]] std::vector<std::string> Exporting(const std::vector<std::string>& more = {}) const {
        std::vector<std::string> options = {"-p", "notices:string=" + fifo, "--file", table};
        options.insert(options.end(), more.begin(), more.end());
        return Words("Export", options);
    }

    const std::string fifo = folder / "fifo";
    const std::string table = folder / "t.csv";

private:
    int m_notices = -1;
};

class EverySignal : public InterruptedRun, public testing::WithParamInterface<int> {};

} // namespace

TEST_P(EverySignal, CancelsThePluginAndLeavesTheOldTable) {
    std::ofstream(table) << "old";
    test::CCommandLine program(Exporting());
    EXPECT_EQ(Notice(), 'r');
    program.Signal(GetParam());
    const test::StEnd end = program.Wait();
    EXPECT_EQ(end.status, 130);
    EXPECT_EQ(end.err, "quillon: cancelled; nothing was written\n");
    EXPECT_EQ(test::ReadText(table), "old");
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"fifo", "in.nrrd", "t.csv"}));
}

TEST_P(EverySignal, EndsTheProgramAtOnceTheSecondTime) {
    for (const bool hasOld : {true, false}) {
        SCOPED_TRACE(hasOld);
        std::filesystem::remove(table);
        if (hasOld)
            std::ofstream(table) << "old";
        test::CCommandLine program(
            Words("Export", {"-p", "notices:string=" + fifo, "-p", "stubborn:bool=true", "--file", table}));
        const int notices = open(fifo.c_str(), O_RDONLY);
        char notice = 0;
        EXPECT_EQ(read(notices, &notice, 1), 1);
        program.Signal(GetParam());
        program.Signal(SIGINT == GetParam() ? SIGTERM : SIGINT); // pending signals of one kind become one
        const test::StEnd end = program.Wait();
        close(notices);
        EXPECT_EQ(end.status, 130);
        EXPECT_EQ(std::filesystem::exists(table), hasOld);
        if (hasOld) {
            EXPECT_EQ(test::ReadText(table), "old");
        }
    }
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"fifo", "in.nrrd"}));
}

INSTANTIATE_TEST_SUITE_P(InterruptedRun, EverySignal, testing::Values(SIGINT, SIGTERM, SIGHUP));

TEST_F(InterruptedRun, ContinuesAfterAHangUpThatItsCallerIgnores) {
    test::CCommandLine program(Exporting(), {}, "trap '' HUP; exec \"$@\"");
    EXPECT_EQ(Notice(), 'r');
    program.Signal(SIGHUP);
    program.Signal(SIGTERM); // the first that counts: were the other one noted, the program would end at once
    const test::StEnd end = program.Wait();
    EXPECT_EQ(end.err, "quillon: cancelled; nothing was written\n");
}

TEST_F(InterruptedRun, AfterAKillTheOldTableIsThereAndTheNextRunWorks) {
    std::ofstream(table) << "old";
    test::CCommandLine program(Exporting());
    EXPECT_EQ(Notice(), 'r');
    program.Signal(SIGKILL);
    EXPECT_EQ(program.Wait().status, -SIGKILL);
    std::string kept;
    for (const std::string& name : folder.Names()) {
        if (name.starts_with(".quillon-kept-") && name.ends_with("/t.csv"))
            kept = name;
    }
    ASSERT_NE(kept, "");
    EXPECT_EQ(Run("Export", {"--file", table}).status, 0);
    EXPECT_EQ(test::ReadText(table), "half and half");
    EXPECT_EQ(test::ReadText(folder / kept), "old");
}

TEST_F(InterruptedRun, AFileSizeLimitFailsTheWriteWithAWord) {
    const std::string large = folder / "large.nrrd";
    std::vector<std::uint8_t> noise(512 * 512);
    std::uint32_t state = 1;
    for (std::uint8_t& pixel : noise) {
        state = state * 1664525u + 1013904223u;
        pixel = static_cast<std::uint8_t>(state >> 24);
    }
    engine::WriteImage(*test::ImageOf<std::uint8_t>(ORVEN::IMAGE_GREY_8, {512, 512}, noise), large);
    for (const std::string name : {"o.nrrd", "o.mha", "o.mhd", "o.nii", "o.nii.gz", "o.tif", "o.png"}) {
        SCOPED_TRACE(name);
        std::ofstream(folder / name) << "old";
        const test::StEnd end =
            test::QuillonInShell("ulimit -f 100; exec \"$@\"", {"convert", large, folder / name});
        EXPECT_EQ(end.status, 4) << end.err;
        ExpectOneErrorLine(end, "cannot write '" + (folder / name) + "': ");
        EXPECT_EQ(test::ReadText(folder / name), "old");
        std::filesystem::remove(folder / name);
    }
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"fifo", "in.nrrd", "large.nrrd"}));
}
