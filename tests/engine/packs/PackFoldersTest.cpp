#include "engine/packs/PackFolders.h"

#include "support/CEnvironmentVariable.h"
#include "support/CommandLine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

using namespace engine;

namespace {

void MakeFiles(const test::CTestFolder& folder, const std::vector<const char*>& names) {
    for (const char* name : names)
        std::ofstream(folder / name) << "";
}

} // namespace

TEST(PackFolders, OfPacksHoldEveryLibraryTheMainOneFirst) {
    const test::CTestFolder folder;
    MakeFiles(folder, {"libB.so", "libQuillonPack.so", "libA.so", "libA.so.1", "A.catalogue.json"});
    EXPECT_EQ(PacksIn(folder / ""),
              (std::vector{folder / "libQuillonPack.so", folder / "libA.so", folder / "libB.so"}));
    EXPECT_TRUE(PacksIn(folder / "none").empty());
}

TEST(PackFolders, OfOtherLibrariesHoldThoseWithACatalogue) {
    const test::CTestFolder folder;
    MakeFiles(folder, {"libB.so", "B.catalogue.json", "libA.so", "A.catalogue.json", "libQuillonPack.so",
                       "libNoPack.so", "C.catalogue.json"});
    EXPECT_EQ(CataloguedPacksIn(folder / ""),
              (std::vector{folder / "libQuillonPack.so", folder / "libA.so", folder / "libB.so"}));
}

TEST(PackFolders, OfTheUserFollowTheDataFolder) {
    const test::CEnvironmentVariable home("HOME", "/home/a");
    {
        const test::CEnvironmentVariable data("XDG_DATA_HOME", "/data");
        EXPECT_EQ(UserPackFolder(), "/data/quillon/packs");
    }
    for (const char* ignored : {"", "relative"}) {
        const test::CEnvironmentVariable data("XDG_DATA_HOME", ignored);
        EXPECT_EQ(UserPackFolder(), "/home/a/.local/share/quillon/packs");
    }
}

TEST(PackFolders, AreSearchedInOrderAndNameEachPackOnce) {
    const test::CTestFolder folder;
    const test::CEnvironmentVariable data("XDG_DATA_HOME", (folder / "").c_str());
    std::filesystem::create_directories(folder / "quillon/packs");
    const std::string own = folder / "quillon/packs/libOwn.so";
    std::ofstream(own) << "";
    const auto paths = FindPacks({"given.so", QUILLON_PACK});
    ASSERT_GE(paths.size(), 3u);
    EXPECT_EQ(paths[0], "given.so");
    EXPECT_EQ(paths[1], QUILLON_PACK);
    EXPECT_EQ(paths[2], own);
    EXPECT_EQ(std::count(paths.begin(), paths.end(), QUILLON_PACK), 1);
}

TEST(PackFolders, ThatCannotBeReadAreReportedAndLeftOut) {
    const test::CTestFolder folder;
    const test::CEnvironmentVariable data("XDG_DATA_HOME", (folder / "").c_str());
    std::filesystem::create_directories(folder / "quillon");
    const std::string packs = folder / "quillon/packs";
    std::filesystem::create_symlink("packs", packs);
    std::vector<std::string> reports;
    const auto paths =
        FindPacks({"given.so"}, [&](const std::string& problem) { reports.push_back(problem); });
    EXPECT_EQ(reports,
              std::vector<std::string>{"cannot read '" + packs + "': Too many levels of symbolic links"});
    EXPECT_EQ(paths, FindPacks({"given.so"}));
    EXPECT_GE(paths.size(), 2u);
}
