#include <QuillonSpectral/CRegisterFftwClient.h>

#include <gtest/gtest.h>

#include <optional>
#include <thread>
#include <vector>

using ORVEN::CRegisterFftwClient;

namespace {

int g_cleanUps = 0;

/// Expects no clients before and after a test, and counts clean-ups in between.
class RegisterFftwClient : public testing::Test {
protected:
    void SetUp() override {
        g_cleanUps = 0;
        EXPECT_EQ(CRegisterFftwClient::ClientCount(), 0U);
        EXPECT_EQ(CRegisterFftwClient::SetCleanUp([] { ++g_cleanUps; }), nullptr);
    }
    void TearDown() override {
        EXPECT_EQ(CRegisterFftwClient::ClientCount(), 0U);
        CRegisterFftwClient::SetCleanUp(nullptr);
    }
};

} // namespace

TEST_F(RegisterFftwClient, CountsTheExistingObjects) {
    std::optional<CRegisterFftwClient> first(std::in_place);
    EXPECT_EQ(CRegisterFftwClient::ClientCount(), 1U);
    {
        const CRegisterFftwClient second;
        EXPECT_EQ(CRegisterFftwClient::ClientCount(), 2U);
    }
    EXPECT_EQ(CRegisterFftwClient::ClientCount(), 1U);
    first.reset();
    EXPECT_EQ(CRegisterFftwClient::ClientCount(), 0U);
}

TEST_F(RegisterFftwClient, CleansUpEachTimeTheLastClientIsDestroyedAndNotBefore) {
    for (int round = 1; round <= 2; ++round) {
        std::optional<CRegisterFftwClient> first(std::in_place);
        std::optional<CRegisterFftwClient> second(std::in_place);
        first.reset();
        EXPECT_EQ(g_cleanUps, round - 1);
        second.reset();
        EXPECT_EQ(g_cleanUps, round);
    }
}

TEST_F(RegisterFftwClient, WithoutACleanUpFunctionNothingRuns) {
    EXPECT_NE(CRegisterFftwClient::SetCleanUp(nullptr), nullptr);
    { const CRegisterFftwClient client; }
    EXPECT_EQ(g_cleanUps, 0);
}

TEST_F(RegisterFftwClient, CountsClientsOfAllThreads) {
    const std::optional<CRegisterFftwClient> keeper(std::in_place);
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([] {
                for (int round = 0; round < 1000; ++round) {
                    const CRegisterFftwClient client;
                    EXPECT_GE(CRegisterFftwClient::ClientCount(), 2U);
                }
            });
        }
    }
    EXPECT_EQ(CRegisterFftwClient::ClientCount(), 1U);
    EXPECT_EQ(g_cleanUps, 0);
}
