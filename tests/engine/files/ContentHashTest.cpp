#include "engine/files/ContentHash.h"

#include "engine/errors/CEngineError.h"
#include "engine/files/ImageFile.h"
#include "support/CommandLine.h"
#include "support/Raised.h"
#include "support/TestImage.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

using namespace engine;

namespace {

/// What a command of the shell prints, without the end of its line.
std::string OutputOf(const std::string& command) {
    FILE* const pipe = popen(command.c_str(), "r");
    std::string text;
    for (int c = std::fgetc(pipe); c != EOF && c != '\n'; c = std::fgetc(pipe))
        text += static_cast<char>(c);
    pclose(pipe);
    return text;
}

} // namespace

TEST(ContentHash, IsTheSha256OfTheBytes) {
    const test::CTestFolder folder;
    std::ofstream(folder / "abc") << "abc";
    std::ofstream(folder / "empty");
    // The examples of FIPS 180-2.
    EXPECT_EQ(ContentHash({folder / "abc"}),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(ContentHash({folder / "empty"}),
              "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(ContentHashInBackground({folder / "abc"}).get(), ContentHash({folder / "abc"}));
}

TEST(ContentHash, OfSeveralFilesIsThatOfTheListThatSha256sumPrints) {
    const test::CTestFolder folder;
    std::ofstream(folder / "b.mhd") << "header";
    std::ofstream(folder / "a.raw") << std::string(200000, 'x');
    const std::string list = OutputOf("cd " + folder / "" + " && sha256sum a.raw b.mhd | sha256sum");
    EXPECT_EQ(ContentHash({folder / "b.mhd", folder / "a.raw"}) + "  -", list);
}

TEST(ContentHash, NamesAFileThatCannotBeRead) {
    const auto error = test::Raised<CFileError>([] { (void)ContentHash({"/nowhere/a"}); });
    EXPECT_STREQ(error.what(), "cannot read '/nowhere/a': No such file or directory");
}

TEST(FilesOfContent, AreHeaderPixelsAndSideFile) {
    const test::CTestFolder folder;
    const auto image = test::ImageOf<std::uint8_t>(ORVEN::IMAGE_BINARY_FG, {2, 2}, {0, 1, 1, 0});
    using Paths = std::vector<std::string>;
    WriteImage(*image, folder / "a.nrrd");
    EXPECT_EQ(FilesOfContent(folder / "a.nrrd"), (Paths{folder / "a.nrrd"}));
    WriteImage(*image, folder / "b.mhd");
    EXPECT_EQ(FilesOfContent(folder / "b.mhd"),
              (Paths{folder / "b.mhd", folder / "b.raw", folder / "b.mhd.attributes.json"}));
}
