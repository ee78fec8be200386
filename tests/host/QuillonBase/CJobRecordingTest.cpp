#include "QuillonBase/CJobRecording.h"

#include "support/CRecordingProgress.h"
#include "support/CThreadCount.h"

#include <QuillonBase/CProgressProxy.h>
#include <QuillonBase/Parallel.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <ctime>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using namespace ORVEN;

/// Keeps the processor busy for a while, however much of it other programs use.
void Compute(double seconds) {
    const auto now = [] {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
    };
    const double begin = now();
    while (now() < begin + seconds) {
    }
}

/// Runs a job of so many items, which record their numbers.
std::vector<std::int64_t> ItemsOf(std::int64_t count) {
    CProgressProxy none;
    std::vector<std::int64_t> items;
    EXPECT_TRUE(ParallelFor(count, none,
                            [&items] { return [&items](std::int64_t item) { items.push_back(item); }; }));
    return items;
}

TEST(JobRecording, RunsItemsInOrderOnTheCallingThreadAndCountsThem) {
    const test::CThreadCount threads(16);
    const auto caller = std::this_thread::get_id();
    const CJobRecording recording;
    int workers = 0;
    CProgressProxy none;
    std::vector<std::int64_t> items;
    EXPECT_TRUE(ParallelFor(100, none, [&] {
        ++workers;
        return [&](std::int64_t item) {
            EXPECT_EQ(std::this_thread::get_id(), caller);
            items.push_back(item);
        };
    }));
    ASSERT_EQ(items.size(), 100U);
    for (std::size_t i = 0; i < items.size(); ++i)
        EXPECT_EQ(items[i], static_cast<std::int64_t>(i));
    EXPECT_EQ(workers, 1);
    EXPECT_EQ(ThreadCount(), 16); // by which jobs decide how finely they divide
    ASSERT_EQ(recording.Jobs().size(), 1U);
    EXPECT_EQ(recording.Jobs().front().size(), 100U);
}

TEST(JobRecording, RecordsTheProcessorTimeOfEachItem) {
    CProgressProxy none;
    const CJobRecording recording;
    EXPECT_TRUE(
        ParallelFor(3, none, [] { return [](std::int64_t item) { Compute(item == 1 ? 4e-3 : 1e-3); }; }));
    ASSERT_EQ(recording.Jobs().size(), 1U);
    const CJobRecording::Job& items = recording.Jobs().front();
    ASSERT_EQ(items.size(), 3U);
    // Items take at least what they compute; what the recording adds itself is not limited here.
    EXPECT_GE(items[0], 1e-3);
    EXPECT_GE(items[1], 4e-3);
    EXPECT_GE(items[2], 1e-3);
}

TEST(JobRecording, WaitingCostsNothing) {
    CProgressProxy none;
    const CJobRecording recording;
    const std::clock_t before = std::clock();
    EXPECT_TRUE(ParallelFor(1, none, [] {
        return [](std::int64_t) { std::this_thread::sleep_for(std::chrono::milliseconds(50)); };
    }));
    const double used = static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC;
    EXPECT_LE(recording.Jobs().front().front(),
              used + 1e-5); // the clock of the process counts in microseconds
}

TEST(JobRecording, ListsJobsInOrderUntilItEnds) {
    {
        const CJobRecording recording;
        (void)ItemsOf(3);
        (void)ItemsOf(5);
        ASSERT_EQ(recording.Jobs().size(), 2U);
        EXPECT_EQ(recording.Jobs()[0].size(), 3U);
        EXPECT_EQ(recording.Jobs()[1].size(), 5U);
        {
            const CJobRecording inner;
            (void)ItemsOf(7);
            ASSERT_EQ(inner.Jobs().size(), 1U);
        }
        (void)ItemsOf(2);
        ASSERT_EQ(recording.Jobs().size(), 3U);
        EXPECT_EQ(recording.Jobs()[2].size(), 2U);
    }
    const test::CThreadCount threads(1);
    EXPECT_EQ(ItemsOf(4).size(), 4U); // nothing records
}

TEST(JobRecording, LeavesOtherThreadsAlone) {
    const CJobRecording recording;
    std::thread([] {
        const test::CThreadCount threads(1);
        EXPECT_EQ(ItemsOf(4).size(), 4U);
    }).join();
    EXPECT_TRUE(recording.Jobs().empty());
}

TEST(JobRecording, AJobInsideAnItemIsPartOfTheItem) {
    const test::CThreadCount threads(8);
    const auto caller = std::this_thread::get_id();
    const CJobRecording recording;
    CProgressProxy none;
    int inner = 0;
    EXPECT_TRUE(ParallelFor(4, none, [&] {
        return [&](std::int64_t) {
            CProgressProxy alsoNone;
            EXPECT_TRUE(ParallelFor(5, alsoNone, [&] {
                return [&](std::int64_t) {
                    EXPECT_EQ(std::this_thread::get_id(), caller);
                    ++inner;
                };
            }));
        };
    }));
    EXPECT_EQ(inner, 20);
    ASSERT_EQ(recording.Jobs().size(), 1U);
    EXPECT_EQ(recording.Jobs().front().size(), 4U);
}

TEST(JobRecording, GoesOnAfterAFailureAndACancellation) {
    const CJobRecording recording;
    CProgressProxy none;
    EXPECT_THROW(ParallelFor(10, none,
                             [] {
                                 return [](std::int64_t item) {
                                     if (item == 3)
                                         throw std::runtime_error("item 3");
                                 };
                             }),
                 std::runtime_error);
    test::CRecordingProgress progress;
    EXPECT_FALSE(ParallelFor(10, progress, [&progress] {
        return [&progress](std::int64_t item) {
            if (item == 5)
                progress.Cancel();
        };
    }));
    (void)ItemsOf(2);
    ASSERT_EQ(recording.Jobs().size(), 3U);
    EXPECT_EQ(recording.Jobs()[0].size(), 3U); // items that were completed
    EXPECT_EQ(recording.Jobs()[1].size(), 6U);
    EXPECT_EQ(recording.Jobs()[2].size(), 2U);
    EXPECT_EQ(progress.steps, 6U);
}

} // namespace
