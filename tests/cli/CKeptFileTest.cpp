#include "engine/files/CKeptFile.h"

#include "cli/CInterruptGuard.h"
#include "engine/files/CAtomicFile.h"
#include "engine/files/EndingSignals.h"
#include "support/FileTools.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

// What stands in a folder after a file was not finished: by a decision, by a signal, by a kill.

namespace engine::test {

namespace {

/// Runs the work in a process of its own; returns its exit status, or the negative of the signal that ended
/// it.
int EndOfChild(const std::function<void()>& work) {
    const pid_t child = fork();
    if (child == 0) {
        work();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

std::vector<std::string> Hidden(const CTestFolder& folder) {
    std::vector<std::string> names = folder.Names();
    std::erase_if(names, [](const std::string& name) { return !name.starts_with('.'); });
    return names;
}

} // namespace

TEST(KeptFile, ComesBackUnlessItIsReleased) {
    const CTestFolder folder;
    Store(folder / "t.csv", "old");
    {
        const CKeptFile kept(folder / "t.csv");
        EXPECT_TRUE(kept.HasOld());
        Store(folder / "t.csv", "half");
    }
    EXPECT_EQ(ReadText(folder / "t.csv"), "old");
    {
        CKeptFile kept(folder / "t.csv");
        Store(folder / "t.csv", "new");
        kept.Release();
    }
    EXPECT_EQ(ReadText(folder / "t.csv"), "new");
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"t.csv"});
}

TEST(KeptFile, WithoutAnOldOneNothingStays) {
    const CTestFolder folder;
    {
        const CKeptFile kept(folder / "t.csv");
        EXPECT_FALSE(kept.HasOld());
        Store(folder / "t.csv", "half");
    }
    EXPECT_EQ(folder.Names(), std::vector<std::string>());
}

TEST(KeptFile, LetsDevicesAndLinksBe) {
    const CTestFolder folder;
    { const CKeptFile kept("/dev/null"); }
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
    Store(folder / "real.csv", "old");
    std::filesystem::create_symlink("real.csv", folder / "link.csv");
    {
        const CKeptFile kept(folder / "link.csv");
        Store(folder / "link.csv", "half");
    }
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link.csv"));
    EXPECT_EQ(ReadText(folder / "real.csv"), "old");
}

TEST(KeptFile, LeavesItsPermissionsToTheNewOne) {
    using std::filesystem::perms;
    const CTestFolder folder;
    Store(folder / "t.csv", "old");
    std::filesystem::permissions(folder / "t.csv", perms::owner_read | perms::owner_write);
    CKeptFile kept(folder / "t.csv");
    Store(folder / "t.csv", "new");
    kept.Release();
    EXPECT_EQ(std::filesystem::status(folder / "t.csv").permissions(),
              perms::owner_read | perms::owner_write);
}

TEST(KeptFile, ComesBackWhenASignalEndsTheProgram) {
    for (const int signal : c_endingSignals) {
        SCOPED_TRACE(signal);
        const CTestFolder folder;
        Store(folder / "t.csv", "old");
        EXPECT_EQ(EndOfChild([&] {
                      cli::HandleInterrupts();
                      const CKeptFile kept(folder / "t.csv");
                      const CKeptFile* const alive = &kept;
                      Store(folder / "t.csv", alive->HasOld() ? "half" : "");
                      raise(signal);
                  }),
                  130);
        EXPECT_EQ(ReadText(folder / "t.csv"), "old");
        EXPECT_EQ(folder.Names(), std::vector<std::string>{"t.csv"});
    }
}

TEST(WorkFolder, IsRemovedByEveryEndingSignal) {
    for (const int signal : c_endingSignals) {
        SCOPED_TRACE(signal);
        const CTestFolder folder;
        EXPECT_EQ(EndOfChild([&] {
                      cli::HandleInterrupts();
                      const CAtomicFile file(folder / "a.mhd");
                      Store(file.Path(), "half");
                      Store(file.CompanionPath("a.raw"), "half");
                      raise(signal);
                  }),
                  130);
        EXPECT_EQ(folder.Names(), std::vector<std::string>());
    }
}

TEST(WorkFolder, ThatAKilledProgramLeftIsRemovedByTheNextOne) {
    const CTestFolder folder;
    EXPECT_EQ(EndOfChild([&] {
                  const CAtomicFile file(folder / "a.nrrd");
                  Store(file.Path(), "half");
                  raise(SIGKILL);
              }),
              -SIGKILL);
    ASSERT_EQ(Hidden(folder).size(), 2u); // the folder and the file in it
    CAtomicFile file(folder / "b.nrrd");
    EXPECT_EQ(Hidden(folder).size(), 1u); // the new one
    Store(file.Path(), "new");
    file.Commit();
}

TEST(WorkFolder, OfARunningProgramIsLetBe) {
    const CTestFolder folder;
    CAtomicFile first(folder / "a.nrrd");
    Store(first.Path(), "first");
    EXPECT_EQ(EndOfChild([&] {
                  CAtomicFile second(folder / "b.nrrd");
                  Store(second.Path(), "second");
                  second.Commit();
              }),
              0);
    first.Commit();
    EXPECT_EQ(ReadText(folder / "a.nrrd"), "first");
    EXPECT_EQ(ReadText(folder / "b.nrrd"), "second");
}

TEST(WorkFolder, LeavesOtherFoldersOfLikeNamesAlone) {
    const CTestFolder folder;
    for (const char* const name : {".quillon-partial-", ".quillon-partial-abcdefg", ".quillon-partial-abc.ef",
                                   ".quillon-kept-abcdef", "quillon-partial-abcdef"})
        std::filesystem::create_directory(folder / name);
    std::filesystem::create_directory(folder / "precious");
    Store(folder / "precious/file", "text");
    std::filesystem::create_symlink("precious", folder / ".quillon-partial-abcdef");
    const auto before = folder.Names();
    { const CAtomicFile file(folder / "a.nrrd"); }
    EXPECT_EQ(folder.Names(), before);
}

} // namespace engine::test
