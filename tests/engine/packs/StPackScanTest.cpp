#include "engine/packs/StPackScan.h"

#include "support/CommandLine.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

using namespace engine;

namespace {

std::string HostilePack(const std::string& kind) { return QUILLON_HOSTILE_PACK + kind + ".so"; }

std::string ProblemOf(const std::string& path) {
    const StPackScan scan = ScanPack(path, {"Anything"});
    EXPECT_FALSE(scan.IsUsable());
    EXPECT_TRUE(scan.provided.empty());
    return scan.problem;
}

} // namespace

TEST(PackScan, NamesThePluginsThatThePackProvides) {
    const StPackScan scan = ScanPack(QUILLON_PACK, {"Watershed", "Nothing", "GaussFilter"});
    EXPECT_TRUE(scan.IsUsable()) << scan.problem;
    EXPECT_EQ(scan.provided, (std::vector<std::string>{"Watershed", "GaussFilter"}));
}

TEST(PackScan, CountsAPluginWhoseConstructorRaises) {
    EXPECT_EQ(ScanPack(QUILLON_TEST_PACK, {"Unborn"}).provided, std::vector<std::string>{"Unborn"});
}

TEST(PackScan, ReportsAPackThatCrashes) {
    const std::string atLoad = HostilePack("Crashes");
    EXPECT_EQ(ProblemOf(atLoad), "cannot load the pack '" + atLoad + "': it crashed (Aborted)");
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // which keep packs loaded
    const std::string atEnd = HostilePack("CrashesAtItsEnd");
    EXPECT_EQ(ProblemOf(atEnd), "cannot load the pack '" + atEnd + "': it crashed (Aborted)");
#endif
}

TEST(PackScan, EndsAPackThatHangs) {
    const std::string pack = HostilePack("Hangs");
    EXPECT_EQ(ProblemOf(pack), "cannot load the pack '" + pack + "': it did not answer within 5 s");
}

TEST(PackScan, ReportsAPackWithoutEntryPoint) {
    const std::string pack = HostilePack("IsEmpty");
    EXPECT_EQ(ProblemOf(pack),
              "cannot load the pack '" + pack + "': it does not export CreatePluginInstanceEx");
}

TEST(PackScan, IgnoresWhatAPackPrints) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const StPackScan scan = ScanPack(HostilePack("Prints"), {"Everything"});
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_TRUE(scan.IsUsable());
    EXPECT_TRUE(scan.provided.empty());
}

TEST(PackScan, ReportsWhatIsNoLibrary) {
    const test::CTestFolder folder;
    std::ofstream(folder / "text.so") << "hello";
    EXPECT_EQ(ProblemOf(folder / "text.so"),
              "cannot load the pack '" + (folder / "text.so") + "': it is not a shared library");
}

TEST(PackScan, ReportsAPackOfAnotherVersion) {
    const std::string reason =
        "': it is built for another version of Quillon than " QUILLON_VERSION ": it needs ";
    EXPECT_EQ(ProblemOf(QUILLON_LATER_PACK),
              "cannot load the pack '" QUILLON_LATER_PACK + reason + "libsorblib2core.so.99");
    EXPECT_EQ(ProblemOf(QUILLON_OTHER_PACK),
              "cannot load the pack '" QUILLON_OTHER_PACK + reason + "'ORVEN::Foretell()'");
}

TEST(PackScan, BlamesTheMachineForAMissingLibraryOfThePack) {
    EXPECT_EQ(ScanPack(QUILLON_ORPHAN_PACK, {}).fault, EnFault::MACHINE);
    EXPECT_EQ(ScanPack("/nowhere/libA.so", {}).fault, EnFault::FILE);
}
