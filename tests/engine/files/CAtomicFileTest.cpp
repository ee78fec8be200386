#include "engine/files/CAtomicFile.h"
#include "engine/files/CTextOutput.h"

#include "support/FileTools.h"

#include <sys/stat.h>
#include <unistd.h>

namespace engine::test {

TEST(AtomicFile, AppearsWhenCommitted) {
    const CTestFolder folder;
    {
        CAtomicFile file(folder / "a.txt");
        Store(file.Path(), "new");
        Store(file.CompanionPath("a.txt.more"), "companion");
        EXPECT_FALSE(std::filesystem::exists(folder / "a.txt"));
        file.Commit();
    }
    EXPECT_EQ(ReadText(folder / "a.txt"), "new");
    EXPECT_EQ(ReadText(folder / "a.txt.more"), "companion");
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"a.txt", "a.txt.more"}));
}

TEST(AtomicFile, LeavesTheOldFileAndNothingElseWithoutCommit) {
    const CTestFolder folder;
    Store(folder / "a.txt", "old");
    {
        const CAtomicFile file(folder / "a.txt");
        Store(file.Path(), "half");
    }
    EXPECT_EQ(ReadText(folder / "a.txt"), "old");
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"a.txt"});
}

TEST(AtomicFile, RemovesAStaleCompanion) {
    const CTestFolder folder;
    Store(folder / "a.txt.more", "stale");
    CAtomicFile file(folder / "a.txt");
    Store(file.Path(), "new");
    file.Commit({"a.txt.more"});
    EXPECT_FALSE(std::filesystem::exists(folder / "a.txt.more"));
}

TEST(AtomicFile, ReplacesWhatASymbolicLinkLeadsTo) {
    const CTestFolder folder;
    Store(folder / "real.txt", "old");
    std::filesystem::create_symlink("real.txt", folder / "link.txt");
    WriteTextFile(folder / "link.txt", "new");
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link.txt"));
    EXPECT_EQ(ReadText(folder / "real.txt"), "new");
}

TEST(AtomicFile, RefusesFoldersAndMissingOnes) {
    const CTestFolder folder;
    std::filesystem::create_directory(folder / "sub");
    for (const std::string& path : {folder / "sub", folder / "none/a.txt", folder / ""}) {
        SCOPED_TRACE(path);
        const StCallEnd end = EndOf([&] { const CAtomicFile file(path); });
        EXPECT_EQ(end.fault, EnFault::FILE);
        EXPECT_NE(end.message.find("cannot write '" + path + "'"), std::string::npos) << end.message;
    }
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"sub"});
}

TEST(WriteTextFile, StoresTheTextAsItIs) {
    const CTestFolder folder;
    const std::string text("line\r\n\0end", 10);
    WriteTextFile(folder / "a.txt", text);
    EXPECT_EQ(ReadText(folder / "a.txt"), text);
}

TEST(WriteTextFile, WritesToADeviceWithoutReplacingIt) {
    WriteTextFile("/dev/null", "text");
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
    const StCallEnd end = EndOf([] { WriteTextFile("/dev/full", "text"); });
    EXPECT_EQ(end.fault, EnFault::MACHINE);
    EXPECT_EQ(end.message, "cannot write '/dev/full': No space left on device");
}

} // namespace engine::test
