#include <QuillonBase/CProgressProxy.h>
#include <QuillonBase/CThreadLimit.h>
#include <QuillonBase/Parallel.h>

#include "support/CEnvironmentVariable.h"
#include "support/CRecordingProgress.h"
#include "support/Raised.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <latch>
#include <limits>
#include <memory>
#include <mutex>
#include <new>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace ORVEN;
using test::CRecordingProgress;

namespace {

/// Leaves the process with the default number of threads.
class ParallelForWithThreads : public testing::TestWithParam<int> {
protected:
    ParallelForWithThreads() { SetThreadCount(GetParam()); }
    ~ParallelForWithThreads() override { SetThreadCount(0); }

    CRecordingProgress m_progress;
};

INSTANTIATE_TEST_SUITE_P(Threads, ParallelForWithThreads, testing::Values(1, 2, 3, 7, 16));

using Item = std::function<void(std::int64_t)>;

} // namespace

TEST_P(ParallelForWithThreads, DoesEachItemOnce) {
    for (const std::int64_t count : {1, 2, 15, 16, 17, 1000}) {
        SCOPED_TRACE(count);
        std::vector<int> timesDone(static_cast<std::size_t>(count));
        EXPECT_TRUE(ParallelFor(count, m_progress, [&]() -> Item {
            return [&](std::int64_t item) { ++timesDone[static_cast<std::size_t>(item)]; };
        }));
        EXPECT_EQ(timesDone, std::vector<int>(timesDone.size(), 1));
    }
}

TEST_P(ParallelForWithThreads, DoesNothingForACountOf0OrLess) {
    for (const std::int64_t count : {0, -1}) {
        EXPECT_TRUE(ParallelFor(count, m_progress,
                                [&]() -> Item { return [](std::int64_t item) { ADD_FAILURE() << item; }; }));
    }
    EXPECT_TRUE(m_progress.calls.empty());
}

TEST_P(ParallelForWithThreads, StepsAddUpAndComeFromTheCallingThread) {
    std::latch allBegun(GetParam()); // so that every thread does at least one item
    EXPECT_TRUE(ParallelFor(1000, m_progress, [&]() -> Item {
        return [&allBegun, isFirst = true](std::int64_t) mutable {
            if (isFirst)
                allBegun.arrive_and_wait();
            isFirst = false;
        };
    }));
    EXPECT_EQ(m_progress.steps, 1000U);
    EXPECT_TRUE(m_progress.isFromOneThread);
    EXPECT_TRUE(std::all_of(m_progress.calls.begin(), m_progress.calls.end(),
                            [](const std::string& call) { return call.starts_with("Step"); }));
}

TEST_P(ParallelForWithThreads, CreatesOneWorkerPerParticipatingThread) {
    std::mutex guard;
    std::multiset<std::thread::id> makers;
    EXPECT_TRUE(ParallelFor(1000, m_progress, [&]() -> Item {
        const auto maker = std::this_thread::get_id();
        const std::lock_guard lock(guard);
        makers.insert(maker);
        return [maker](std::int64_t) { EXPECT_EQ(std::this_thread::get_id(), maker); };
    }));
    EXPECT_EQ(makers.size(), static_cast<std::size_t>(GetParam()));
    for (const auto& maker : makers)
        EXPECT_EQ(makers.count(maker), 1U);
}

TEST_P(ParallelForWithThreads, ReallyRunsItemsAtTheSameTime) {
    // Each item waits until as many have begun as there are threads: with fewer at a time it would never end.
    std::latch allBegun(GetParam());
    EXPECT_TRUE(ParallelFor(GetParam(), m_progress,
                            [&]() -> Item { return [&](std::int64_t) { allBegun.arrive_and_wait(); }; }));
}

TEST_P(ParallelForWithThreads, UsesNoMoreThreadsThanItems) {
    std::atomic<int> workers{0};
    EXPECT_TRUE(ParallelFor(2, m_progress, [&]() -> Item {
        ++workers;
        return [](std::int64_t) {};
    }));
    EXPECT_LE(workers, 2);
}

TEST_P(ParallelForWithThreads, BeginsNothingOnceCancelled) {
    m_progress.Cancel();
    EXPECT_FALSE(ParallelFor(1000, m_progress,
                             []() -> Item { return [](std::int64_t item) { ADD_FAILURE() << item; }; }));
    EXPECT_EQ(m_progress.steps, 0U);
}

TEST_P(ParallelForWithThreads, EndsByACancellationAndStepsForWhatWasDone) {
    const auto caller = std::this_thread::get_id();
    std::atomic<unsigned> done{0};
    std::atomic<unsigned> doneByCaller{0};
    // Too many items to get through: the job ends by the cancellation or not at all.
    EXPECT_FALSE(ParallelFor(std::numeric_limits<std::int64_t>::max() / 2, m_progress, [&]() -> Item {
        return [&](std::int64_t) {
            ++done;
            if (std::this_thread::get_id() == caller && ++doneByCaller == 10)
                m_progress.Cancel();
        };
    }));
    EXPECT_EQ(doneByCaller, 10U);
    EXPECT_EQ(m_progress.steps, done);
    EXPECT_TRUE(m_progress.isFromOneThread);
}

TEST_P(ParallelForWithThreads, ALongItemLearnsOfACancellationOnEveryThread) {
    std::latch allBegun(GetParam());
    EXPECT_FALSE(ParallelFor(GetParam(), m_progress, [&](CWorkerTurn& turn) {
        return [&](std::int64_t) {
            allBegun.arrive_and_wait();
            m_progress.Cancel();
            while (!turn.IsCancelled())
                std::this_thread::yield();
        };
    }));
    EXPECT_TRUE(m_progress.isFromOneThread);
}

TEST_P(ParallelForWithThreads, AsksWhileItWaitsForTheOtherThreads) {
    SetThreadCount(1 + GetParam());
    const auto caller = std::this_thread::get_id();
    std::latch helperHasAnItem(1);
    EXPECT_FALSE(ParallelFor(2, m_progress, [&](CWorkerTurn& turn) {
        return [&](std::int64_t) {
            if (std::this_thread::get_id() == caller)
                return helperHasAnItem.wait();
            helperHasAnItem.count_down();
            // The caller has nothing left to do, or is about to: only a waiting caller can tell.
            m_progress.Cancel();
            while (!turn.IsCancelled())
                std::this_thread::yield();
        };
    }));
    EXPECT_TRUE(m_progress.isFromOneThread);
}

TEST_P(ParallelForWithThreads, AFailureEndsLongItemsOfOtherThreads) {
    CProgressProxy none;
    std::latch allBegun(GetParam());
    EXPECT_THROW(ParallelFor(GetParam(), none,
                             [&](CWorkerTurn& turn) {
                                 return [&](std::int64_t item) {
                                     allBegun.arrive_and_wait();
                                     if (item == GetParam() - 1)
                                         throw std::runtime_error("the last item");
                                     while (!turn.IsCancelled())
                                         std::this_thread::yield();
                                 };
                             }),
                 std::runtime_error);
}

TEST_P(ParallelForWithThreads, AcceptsWorkersThatCannotBeCopied) {
    std::atomic<std::int64_t> sum{0};
    EXPECT_TRUE(ParallelFor(1000, m_progress, [&] {
        return [&sum, one = std::make_unique<std::int64_t>(1)](std::int64_t) { sum += *one; };
    }));
    EXPECT_EQ(sum, 1000);
}

TEST_P(ParallelForWithThreads, RaisesTheExceptionOfAnItemAgainAndEndsTheJob) {
    CProgressProxy none;
    const auto raised = test::Raised<std::runtime_error>([&] {
        // Too many items to get through: the job ends by the exception or not at all.
        ParallelFor(std::numeric_limits<std::int64_t>::max() / 2, none, []() -> Item {
            return [](std::int64_t item) {
                if (item == 5)
                    throw std::runtime_error("item 5");
            };
        });
    });
    EXPECT_STREQ(raised.what(), "item 5");
}

TEST_P(ParallelForWithThreads, RaisesOneExceptionIfEveryItemRaises) {
    EXPECT_THROW(
        ParallelFor(1000, m_progress, []() -> Item { return [](std::int64_t) { throw std::bad_alloc(); }; }),
        std::bad_alloc);
}

TEST_P(ParallelForWithThreads, RaisesWhatMakingAWorkerRaises) {
    EXPECT_THROW(
        ParallelFor(1000, m_progress, []() -> Item { throw std::runtime_error("no scratch memory"); }),
        std::runtime_error);
    EXPECT_EQ(m_progress.steps, 0U);
}

TEST_P(ParallelForWithThreads, RaisesWhatTheSinkRaises) {
    class CRaisingProgress : public CRecordingProgress {
        void Step(unsigned /*amount*/, int /*flag*/) override { throw std::runtime_error("sink"); }
    } raising;
    EXPECT_THROW(ParallelFor(100, raising, []() -> Item { return [](std::int64_t) {}; }), std::runtime_error);
}

TEST_P(ParallelForWithThreads, CanStandInsideAnother) {
    std::atomic<int> done{0};
    EXPECT_TRUE(ParallelFor(4, m_progress, [&]() -> Item {
        return [&](std::int64_t) {
            CProgressProxy none;
            EXPECT_TRUE(ParallelFor(5, none, [&]() -> Item { return [&](std::int64_t) { ++done; }; }));
        };
    }));
    EXPECT_EQ(done, 20);
}

TEST_P(ParallelForWithThreads, EachWorkerKeepsItsScratchMemory) {
    std::atomic<std::int64_t> sum{0};
    struct StScratch {
        explicit StScratch(std::atomic<std::int64_t>& total)
            : m_total(total) {}
        StScratch(const StScratch&) = delete;
        StScratch& operator=(const StScratch&) = delete;
        ~StScratch() { m_total += partial; }
        std::int64_t partial = 0;
        std::atomic<std::int64_t>& m_total;
    };
    EXPECT_TRUE(ParallelFor(1000, m_progress, [&]() -> Item {
        return [scratch = std::make_shared<StScratch>(sum)](std::int64_t item) { scratch->partial += item; };
    }));
    EXPECT_EQ(sum, 499500);
}

TEST(ThreadLimit, HoldsOnItsThreadOnlyAndEndsWithTheObject) {
    SetThreadCount(3);
    {
        const CThreadLimit outer(2);
        EXPECT_EQ(ThreadCount(), 2);
        int elsewhere = 0;
        std::thread([&elsewhere] { elsewhere = ThreadCount(); }).join();
        EXPECT_EQ(elsewhere, 3);
        {
            const CThreadLimit inner(5000);
            EXPECT_EQ(ThreadCount(), 1024);
        }
        {
            const CThreadLimit none(0);
            EXPECT_EQ(ThreadCount(), 3);
        }
        EXPECT_EQ(ThreadCount(), 2);
    }
    EXPECT_EQ(ThreadCount(), 3);
    SetThreadCount(0);
}

TEST(ThreadCount, IsWhatWasSetAndZeroGoesBackToTheDefault) {
    const test::CEnvironmentVariable environment("OMP_NUM_THREADS", "5");
    EXPECT_EQ(ThreadCount(), 5);
    SetThreadCount(3);
    EXPECT_EQ(ThreadCount(), 3);
    SetThreadCount(0);
    EXPECT_EQ(ThreadCount(), 5);
    SetThreadCount(-2);
    EXPECT_EQ(ThreadCount(), 5);
}

TEST(ThreadCount, ReadsTheFirstNumberOfOmpNumThreads) {
    const test::CEnvironmentVariable environment("OMP_NUM_THREADS", "6,2");
    EXPECT_EQ(ThreadCount(), 6);
}

TEST(ThreadCount, LimitsOmpNumThreadsToWhatIsSensible) {
    const test::CEnvironmentVariable environment("OMP_NUM_THREADS", "100000");
    EXPECT_EQ(ThreadCount(), 1024);
}

TEST(ThreadCount, IsOnePerProcessorWithoutAUsableOmpNumThreads) {
    const int processors = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
    for (const char* text : {static_cast<const char*>(nullptr), "", "0", "-4", "many", "99999999999"}) {
        SCOPED_TRACE(text != nullptr ? text : "not set");
        const test::CEnvironmentVariable environment("OMP_NUM_THREADS", text);
        EXPECT_EQ(ThreadCount(), processors);
    }
}
