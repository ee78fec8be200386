// quillon-lut, run as a person runs it.

#include "support/CommandLine.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>

namespace {

/// Runs the tool with these arguments; its exit status and all that it said.
std::pair<int, std::string> Tool(const std::string& arguments) {
    const std::string command = "exec 2>&1; timeout 60 '" QUILLON_PROGRAM "-lut' " + arguments;
    FILE* const pipe = popen(command.c_str(), "r");
    std::string said;
    std::array<char, 256> buffer{};
    while (std::fgets(buffer.data(), buffer.size(), pipe) != nullptr)
        said += buffer.data();
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, said};
}

using Answer = std::pair<int, std::string>;

TEST(LookUpTableTool, WritesTablesThatItFindsSound) {
    const test::CTestFolder folder;
    const std::string axis = folder / "axis.lut";
    const std::string spheres = folder / "spheres.lut";
    EXPECT_EQ(Tool("axis --reach 20 -o " + axis), Answer(0, "31 vectors, for balls up to radius 20\n"));
    EXPECT_EQ(Tool("check " + axis), Answer(0, "medial axis, 31 vectors up to squared length 400\n"));
    EXPECT_EQ(Tool("spheres --reach 3 -o " + spheres), Answer(0, "10 vectors up to length 3\n"));
    EXPECT_EQ(Tool("check " + spheres), Answer(0, "spheres, 10 vectors up to squared length 9\n"));
    EXPECT_EQ(folder.Names().size(), 2U);
}

TEST(LookUpTableTool, ReportsWhatIsWrongWithAFile) {
    const test::CTestFolder folder;
    const std::string axis = folder / "axis.lut";
    Tool("axis --reach 10 -o " + axis);
    std::string bytes = test::ReadText(axis);
    bytes.back() = static_cast<char>(bytes.back() ^ 1);
    std::ofstream(axis, std::ios::binary) << bytes;
    EXPECT_EQ(Tool("check " + axis), Answer(4, "quillon-lut: Look-up table '" + axis +
                                                   "' is not usable: its records are damaged.\n"));
    EXPECT_EQ(Tool("check " + (folder / "none")),
              Answer(4, "quillon-lut: Look-up table '" + (folder / "none") +
                            "' is not usable: it cannot be read.\n"));
    EXPECT_EQ(Tool("axis --reach 2 -o " + (folder / "no/such/folder")).first, 4);
}

TEST(LookUpTableTool, DoesNotWaitForAPipeThatNobodyWritesTo) {
    const test::CTestFolder folder;
    ASSERT_EQ(mkfifo((folder / "fifo").c_str(), 0600), 0);
    EXPECT_EQ(Tool("check " + (folder / "fifo")),
              Answer(4, "quillon-lut: Look-up table '" + (folder / "fifo") +
                            "' is not usable: it cannot be read.\n"));
    EXPECT_EQ(Tool("axis --reach 2 -o " + (folder / "fifo")).first, 4);
}

TEST(LookUpTableTool, EndsWithFourWhenItsOutputIsLost) {
    const test::CTestFolder folder;
    EXPECT_EQ(Tool("axis --reach 2 -o " + (folder / "a.lut") + " >/dev/full"),
              Answer(4, "quillon-lut: cannot write to standard output: No space left on device\n"));
}

TEST(LookUpTableTool, WritesTheSourceThatIsCompiledIn) {
    const test::CTestFolder folder;
    const std::string source = folder / "constants.cpp";
    EXPECT_EQ(Tool("constants --reach 5 -o " + source).first, 0);
    const std::string text = test::ReadText(source);
    EXPECT_NE(text.find("constexpr std::uint32_t c_reach = 25;"), std::string::npos);
    EXPECT_NE(text.find("{{1, 0, 0}, 1, 2}, {{1, 1, 0}, 1, 3}, {{1, 1, 1}, 1, 4},\n}};"), std::string::npos);
}

TEST(LookUpTableTool, ExplainsWrongUse) {
    for (const char* arguments :
         {"", "no-such-command", "axis --reach 0 -o x", "axis --reach 2000 -o x", "check"})
        EXPECT_EQ(Tool(arguments).first, 2) << arguments;
    EXPECT_EQ(Tool("--help").first, 0);
}

} // namespace
