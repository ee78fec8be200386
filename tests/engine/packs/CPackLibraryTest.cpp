#include "engine/packs/CPackLibrary.h"

#include "engine/errors/CEngineError.h"
#include "support/CommandLine.h"
#include "support/Raised.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

using namespace engine;

namespace {

CFileError LoadError(const std::string& path) {
    return test::Raised<CFileError>([&] { CPackLibrary{path}; });
}

} // namespace

TEST(PackLibrary, BlamesTheFileThatIsMissingOrNoPack) {
    const test::CTestFolder folder;
    EXPECT_EQ(LoadError(folder / "none.so").Fault(), EnFault::FILE);
    std::ofstream(folder / "text.so") << "no library";
    EXPECT_EQ(LoadError(folder / "text.so").Fault(), EnFault::FILE);
    EXPECT_EQ(LoadError(folder / "").Fault(), EnFault::FILE);
}

TEST(PackLibrary, BlamesTheMachineForAMissingLibraryOfThePack) {
    const CFileError error = LoadError(QUILLON_ORPHAN_PACK);
    EXPECT_EQ(error.Fault(), EnFault::MACHINE);
    EXPECT_STREQ(error.what(), "cannot load the pack '" QUILLON_ORPHAN_PACK
                               "': it needs libQuillonLostLibrary.so, which is not installed");
}

TEST(PackLibrary, BlamesThePluginForAnExceptionOfItsConstructor) {
    const CPackLibrary pack(QUILLON_TEST_PACK);
    const auto error = test::Raised<CPluginError>([&] { (void)pack.Create("Unborn"); });
    EXPECT_EQ(error.Fault(), EnFault::PLUGIN);
    EXPECT_STREQ(error.what(), "UnbornPlugin: it cannot be made");
}
