#include "support/RunFixture.h"

// What a command has to say on standard output is its result: losing it is an error.

namespace {

class StandardStreams : public test::RunFixture {
protected:
    [[nodiscard]] std::vector<std::vector<std::string>> TalkingCommands() const {
        return {{"info", image, "--json"},
                {"info", image},
                {"list"},
                {"list", "--json"},
                {"describe", "SegmNiblack"},
                {"describe", "SegmNiblack", "--json"},
                {"--help"},
                {"--version"},
                {},
                {"run", "--help"}};
    }
};

} // namespace

TEST_F(StandardStreams, LostOutputEndsWithFour) {
    for (const auto& arguments : TalkingCommands()) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        for (const std::string redirection : {">/dev/full", ">&-"}) {
            const test::StEnd end = test::QuillonInShell("exec \"$@\" " + redirection, arguments);
            EXPECT_EQ(end.status, 4);
            ExpectOneErrorLine(end, "quillon: cannot write to standard output: ");
        }
        EXPECT_EQ(test::Quillon(arguments).status, 0);
    }
}

TEST_F(StandardStreams, ALostSummaryEndsWithFourAndTheResultStays) {
    const std::string output = folder / "a.nrrd";
    const test::StEnd end = test::QuillonInShell("exec \"$@\" >/dev/full", Words("Echo", {"-o", output}));
    EXPECT_EQ(end.status, 4);
    ExpectOneErrorLine(end, "standard output");
    EXPECT_EQ(engine::ReadImage(output)->Size(), ORVEN::CSize(4, 3));
}

TEST_F(StandardStreams, AnotherErrorIsToldInPlaceOfLostOutput) {
    const test::StEnd end = test::QuillonInShell("exec \"$@\" >/dev/full", Words("Raise"));
    EXPECT_EQ(end.status, 1);
    ExpectOneErrorLine(end, "cursed");
}

TEST_F(StandardStreams, ClosedOutputIsRefusedBeforeTheRun) {
    for (const std::string closed : {">&-", "<&- >&-"}) {
        SCOPED_TRACE(closed);
        const test::StEnd end =
            test::QuillonInShell("exec \"$@\" " + closed, Words("Echo", {"-o", folder / "a.nrrd"}));
        EXPECT_EQ(end.status, 4);
        ExpectOneErrorLine(end, "standard output is closed");
        EXPECT_EQ(folder.Names(), std::vector<std::string>{"in.nrrd"});
    }
}

TEST_F(StandardStreams, ClosedStreamsDoNotMixWithFiles) {
    for (const std::string closed : {"<&-", "2>&-", "<&- 2>&-", "<&- >&-", "<&- >&- 2>&-"}) {
        SCOPED_TRACE(closed);
        const std::string output = folder / "a.nrrd";
        const test::StEnd end = test::QuillonInShell(
            "exec \"$@\" " + closed, Words("Echo", {"--quiet", "-o", output, "--pack-log", folder / "log"}));
        EXPECT_EQ(end.status, 0) << end.err;
        EXPECT_EQ(test::PixelsOf<std::uint8_t>(*engine::ReadImage(output)),
                  test::PixelsOf<std::uint8_t>(*engine::ReadImage(image)));
        EXPECT_NE(test::ReadText(folder / "log").find("label=in.nrrd"), std::string::npos);
    }
    EXPECT_EQ(test::QuillonInShell("exec \"$@\" >&-", {"convert", image, folder / "b.tif"}).status, 0);
}
