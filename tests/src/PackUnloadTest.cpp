// What becomes of the pack when a host unloads it. The program does not link the pack, so that the last
// `dlclose` takes it out of the process.

#include "support/PluginTest.h"
#include "support/TestImage.h"

#include <QuillonSpectral/CRegisterFftwClient.h>
#include <sorblib2core/CValueDouble.h>

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <cstdlib>
#include <memory>
#include <string>

namespace {

using namespace ORVEN;
using PluginPointer = std::unique_ptr<CPluginBase>;

/// The pack, loaded as a host loads it.
class CLoadedPack {
public:
    CLoadedPack()
        : m_library(dlopen(QUILLON_PACK, RTLD_NOW | RTLD_LOCAL)) {
        EXPECT_NE(m_library, nullptr) << dlerror();
    }
    CLoadedPack(const CLoadedPack&) = delete;
    CLoadedPack& operator=(const CLoadedPack&) = delete;
    ~CLoadedPack() { EXPECT_EQ(dlclose(m_library), 0); }

    [[nodiscard]] PluginPointer Create(const char* name) const {
        using Factory = void* (*)(const char*);
        const auto factory = reinterpret_cast<Factory>(dlsym(m_library, "CreatePluginInstanceEx"));
        return PluginPointer(static_cast<CPluginBase*>(factory(name)));
    }

private:
    void* m_library;
};

bool IsLoaded() {
    void* library = dlopen(QUILLON_PACK, RTLD_NOW | RTLD_NOLOAD);
    if (library != nullptr)
        dlclose(library);
    return library != nullptr;
}

int g_cleanUps = 0;

TEST(PackUnload, ThePackIsAClientOfFftwForAsLongAsItIsLoaded) {
    g_cleanUps = 0;
    CRegisterFftwClient::SetCleanUp([] { ++g_cleanUps; });
    for (int round = 1; round <= 2; ++round) {
        EXPECT_FALSE(IsLoaded());
        EXPECT_EQ(CRegisterFftwClient::ClientCount(), 0U);
        {
            const CLoadedPack pack;
            EXPECT_TRUE(IsLoaded());
            EXPECT_EQ(CRegisterFftwClient::ClientCount(), 1U);
            const CLoadedPack loadedTwice;
            EXPECT_EQ(CRegisterFftwClient::ClientCount(), 1U);
            EXPECT_EQ(g_cleanUps, round - 1);
        }
        EXPECT_FALSE(IsLoaded()) << "dlclose leaves the pack in memory";
        EXPECT_EQ(CRegisterFftwClient::ClientCount(), 0U);
        EXPECT_EQ(g_cleanUps, round);
    }
    CRegisterFftwClient::SetCleanUp(nullptr);
}

TEST(PackUnload, ThePackIsUnloadedAfterItsPluginsHaveRun) {
    {
        const CLoadedPack pack;
        test::CPackHost host(test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(4, 4, 4), {1, 2, 3}));
        const test::CapturedOutput silence;
        host.Run(*pack.Create("GaussFilter")); // traverses, runs threads and reports progress
        EXPECT_EQ(host.DocumentCount(), 1U);
        test::CPackHost flood(test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(4, 4, 4), {1, 2, 3}));
        flood.Set("Neighborhood", test::Text("Neigh_6"));
        flood.Run(*pack.Create("Watershed"));
        EXPECT_EQ(flood.DocumentCount(), 1U);
        CValueMap incomplete;
        incomplete.SetEntry("parameters", new CValueMap);
        EXPECT_THROW(pack.Create("SegmNiblack")->UpdateParameters(incomplete), CException);
    }
    EXPECT_FALSE(IsLoaded());
    EXPECT_EQ(CRegisterFftwClient::ClientCount(), 0U);
}

} // namespace
