#include "engine/files/FileErrors.h"

#include "engine/files/CTextOutput.h"
#include "engine/files/ImageFile.h"
#include "engine/files/TextFile.h"
#include "support/CommandLine.h"
#include "support/Raised.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>

using namespace engine;

TEST(FileErrors, NameTheFileOnce) {
    const auto error = test::Raised<CFileError>(
        [] { Reading("a.nrrd", []() -> int { throw CFileReason("it ends too early"); }); });
    EXPECT_STREQ(error.what(), "cannot read 'a.nrrd': it ends too early");
    EXPECT_EQ(error.Fault(), EnFault::FILE);
}

TEST(FileErrors, KeepTheNameOfASecondFile) {
    const auto error = test::Raised<CFileError>([] {
        Reading("a.mhd", [] { return Reading("a.raw", []() -> int { throw CFileReason("it is empty"); }); });
    });
    EXPECT_STREQ(error.what(), "cannot read 'a.raw': it is empty");
}

TEST(FileErrors, PassResultsOn) {
    EXPECT_EQ(Reading("a", [] { return 3; }), 3);
    EXPECT_EQ(Writing("a", [] { return 4; }), 4);
}

TEST(FileErrors, BlameTheMachineWhenMemoryRunsOut) {
    const auto read = [] { Reading("a", []() -> int { throw std::bad_alloc(); }); };
    EXPECT_STREQ(test::Raised<CFileError>(read).what(), "cannot read 'a': there is not enough memory");
    EXPECT_EQ(test::Raised<CFileError>(read).Fault(), EnFault::MACHINE);
    const auto write = [] { Writing("a", []() -> int { throw std::bad_alloc(); }); };
    EXPECT_STREQ(test::Raised<CFileError>(write).what(), "cannot write 'a': there is not enough memory");
    EXPECT_EQ(test::Raised<CFileError>(write).Fault(), EnFault::MACHINE);
}

TEST(FileErrors, BlameTheMachineForAFullDisk) {
    const auto error = test::Raised<CFileError>([] { WriteTextFile("/dev/full", "text"); });
    EXPECT_STREQ(error.what(), "cannot write '/dev/full': No space left on device");
    EXPECT_EQ(error.Fault(), EnFault::MACHINE);
    EXPECT_EQ(SystemReason(ENOENT).Fault(), EnFault::FILE);
    EXPECT_EQ(SystemReason(EMFILE).Fault(), EnFault::MACHINE);
}

TEST(FileErrors, BlameTheFileThatIsMissing) {
    const auto error = test::Raised<CFileError>([] { (void)ReadTextFile("/nowhere/a.json"); });
    EXPECT_STREQ(error.what(), "cannot read '/nowhere/a.json': No such file or directory");
    EXPECT_EQ(error.Fault(), EnFault::FILE);
}

TEST(FileErrors, BlameTheMachineForAnImageBeyondItsMemory) {
    const test::CTestFolder folder;
    const std::string path = folder / "huge.nrrd";
    // Gzip data can unpack to a thousand times their size: the file may announce more than any memory holds.
    std::ofstream(path) << "NRRD0004\ntype: uint8\ndimension: 3\n"
                           "sizes: 1000000 1000000 64\nencoding: gzip\n\n";
    std::filesystem::resize_file(path, std::uintmax_t{1} << 40);
    const auto error = test::Raised<CFileError>([&] { (void)ReadImage(path); });
    EXPECT_EQ(error.Fault(), EnFault::MACHINE) << error.what();
}
