#include "cli/CProgressBar.h"

#include "cli/CInterruptGuard.h"
#include "engine/files/CAtomicFile.h"
#include "support/CommandLine.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>

using namespace cli;
using namespace engine;
using namespace std::chrono_literals;

namespace {

/// A bar on a pipe, with a clock that is set by hand.
class ProgressBar : public testing::Test {
protected:
    ProgressBar() {
        EXPECT_EQ(pipe2(m_ends.data(), O_NONBLOCK), 0);
        bar = std::make_unique<CProgressBar>(m_ends[1], [this] {
            ++clockReadings;
            return now;
        });
    }

    ~ProgressBar() override {
        bar.reset();
        close(m_ends[0]);
        close(m_ends[1]);
    }

    std::string Drawn() {
        std::string text(100000, '\0');
        const ssize_t count = read(m_ends[0], text.data(), text.size());
        text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        return text;
    }

    CProgressBar::Clock::time_point now{1h};
    int clockReadings = 0;
    std::unique_ptr<CProgressBar> bar;

private:
    std::array<int, 2> m_ends{};
};

constexpr const char* wipe = "\r\033[K";

} // namespace

TEST_F(ProgressBar, ShowsTextShareAndTimeLeft) {
    bar->Start(200, "flooding");
    now += 30s;
    bar->Step(50, 0);
    EXPECT_EQ(Drawn(), wipe + std::string("flooding  25 %  1:30 left"));
}

TEST_F(ProgressBar, DrawsNothingForAPhaseThatEndsAtOnce) {
    bar->Start(2, "blink");
    bar->Step(1, 0);
    bar->Step(1, 0);
    bar->Finish();
    bar.reset();
    EXPECT_EQ(Drawn(), "");
}

TEST_F(ProgressBar, DrawsAtMostTenTimesASecond) {
    bar->Start(1000, "x");
    for (int i = 0; i < 1000; ++i) {
        now += 1ms;
        bar->Step(1, 0);
    }
    const std::string drawn = Drawn();
    EXPECT_LE(std::count(drawn.begin(), drawn.end(), '\r'), 10);
    EXPECT_GE(std::count(drawn.begin(), drawn.end(), '\r'), 9);
}

TEST_F(ProgressBar, AsksTheClockOnceEveryThousandthOfAPhase) {
    bar->Start(1000000, "x");
    clockReadings = 0;
    for (int i = 0; i < 1000000; ++i)
        bar->Step(1, 0);
    EXPECT_LE(clockReadings, 1001);
}

TEST_F(ProgressBar, StaysAtHundredPercentBeyondTheTotal) {
    bar->Start(10, "x");
    now += 5s;
    bar->Step(25, 0);
    EXPECT_EQ(Drawn(), wipe + std::string("x  100 %"));
}

TEST_F(ProgressBar, ShowsNoShareWithoutATotal) {
    bar->Start(0, "searching");
    now += 5s;
    bar->Step(25, 0);
    EXPECT_EQ(Drawn(), wipe + std::string("searching"));
}

TEST_F(ProgressBar, ShowsTheInnermostPhaseAndGoesBackToTheOuterOne) {
    bar->Start(10, "outer");
    bar->Step(5, 0);
    bar->Start(10, "inner");
    now += 200ms;
    bar->Step(1, 0);
    EXPECT_EQ(Drawn(), wipe + std::string("inner  10 %"));
    bar->Finish();
    now += 200ms;
    bar->Step(1, 0);
    EXPECT_EQ(Drawn(), wipe + std::string("outer  60 %"));
}

TEST_F(ProgressBar, BearsPhasesThatNeverFinishAndStepsOutsideOfAny) {
    bar->Step(1, 0);
    bar->SetPosition(3);
    bar->SetText("nowhere");
    bar->Finish();
    for (int i = 0; i < 1000; ++i)
        bar->Start(10, "unfinished");
    bar->Start(10, nullptr);
    now += 200ms;
    bar->Step(2, 0);
    EXPECT_EQ(Drawn(), wipe + std::string("  20 %"));
}

TEST_F(ProgressBar, FollowsAPositionThatGoesBack) {
    bar->Start(100, "x");
    bar->SetPosition(90);
    now += 200ms;
    bar->SetPosition(10);
    EXPECT_EQ(Drawn(), wipe + std::string("x  10 %"));
}

TEST_F(ProgressBar, TakesANewTextAndKeepsItOnOneLine) {
    bar->Start(4, "x");
    bar->SetText("a\nb\033c");
    now += 200ms;
    bar->Step(1, 0);
    EXPECT_EQ(Drawn(), wipe + std::string("a b c  25 %"));
    bar->SetText(
        "123456789 123456789 123456789 123456789\xc3\xa4 and more"); // cut inside a letter of two bytes
    now += 200ms;
    bar->Step(1, 0);
    EXPECT_EQ(Drawn(), wipe + std::string("123456789 123456789 123456789 123456789  50 %"));
}

TEST_F(ProgressBar, WipesItsLineInTheEnd) {
    bar->Start(4, "x");
    now += 200ms;
    bar->Step(1, 0);
    Drawn();
    bar.reset();
    EXPECT_EQ(Drawn(), wipe);
}

TEST_F(ProgressBar, IsCancelledByACall) {
    EXPECT_FALSE(bar->IsCancelled());
    bar->Cancel();
    EXPECT_TRUE(bar->IsCancelled());
}

TEST_F(ProgressBar, IsCancelledByCtrlCUnderAGuard) {
    HandleInterrupts();
    {
        const CInterruptGuard guard;
        EXPECT_FALSE(bar->IsCancelled());
        raise(SIGINT);
        EXPECT_TRUE(bar->IsCancelled());
    }
    const CInterruptGuard next;
    EXPECT_FALSE(bar->IsCancelled());
}

TEST(InterruptGuard, EndsTheProgramAtOnceWithoutAGuard) {
    EXPECT_EXIT(
        {
            HandleInterrupts();
            { const CInterruptGuard guard; }
            raise(SIGINT);
            _exit(0);
        },
        testing::ExitedWithCode(130), "");
}

TEST(InterruptGuard, LeavesNoPartialFileBehind) {
    const test::CTestFolder folder;
    EXPECT_EXIT(
        {
            HandleInterrupts();
            const CAtomicFile file(folder / "a.raw");
            std::ofstream(file.Path()) << "half";
            std::ofstream(file.CompanionPath("a.raw.json")) << "half";
            raise(SIGINT);
            _exit(0);
        },
        testing::ExitedWithCode(130), "");
    EXPECT_EQ(folder.Names(), std::vector<std::string>());
}

TEST(InterruptGuard, EndsTheProgramAtOnceAtTheSecondCtrlC) {
    EXPECT_EXIT(
        {
            HandleInterrupts();
            const CInterruptGuard guard;
            raise(SIGINT);
            raise(SIGINT);
            _exit(0);
        },
        testing::ExitedWithCode(130), "");
}
