#include "support/CRecordingProgress.h"

#include <QuillonBase/CWorkPace.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

namespace {

using namespace ORVEN;

class CCountedQuestions : public test::CRecordingProgress {
public:
    bool IsCancelled() override {
        ++questions;
        return questions > goOnTimes;
    }

    int questions = 0;
    int goOnTimes = 1000;
};

} // namespace

TEST(CWorkPace, AsksWhenEnoughWorkHasComeTogether) {
    CCountedQuestions progress;
    CWorkPace pace(progress);
    constexpr std::int64_t part = CWorkPace::c_workPerQuestion / 8;
    for (int i = 1; i <= 80; ++i) {
        EXPECT_FALSE(pace.Add(part));
        EXPECT_EQ(progress.questions, i / 8);
    }
    EXPECT_FALSE(pace.Add(20 * CWorkPace::c_workPerQuestion));
    EXPECT_EQ(progress.questions, 11);
}

TEST(CWorkPace, StaysCancelledWithoutAskingAgain) {
    CCountedQuestions progress;
    progress.goOnTimes = 1;
    CWorkPace pace(progress);
    EXPECT_FALSE(pace.Add(CWorkPace::c_workPerQuestion));
    EXPECT_FALSE(pace.IsCancelled());
    EXPECT_TRUE(pace.Add(CWorkPace::c_workPerQuestion));
    EXPECT_TRUE(pace.IsCancelled());
    EXPECT_TRUE(pace.Add(1));
    EXPECT_TRUE(pace.Add(CWorkPace::c_workPerQuestion));
    EXPECT_EQ(progress.questions, 2);
}

TEST(CWorkPace, PiecesCoverAllNumbersOnce) {
    CCountedQuestions progress;
    CWorkPace pace(progress);
    for (const std::int64_t count : {0, 1, 1000, 100000}) {
        for (const std::int64_t units : {0, 1, 300, 5000000}) {
            if (count * units > 10'000'000'000)
                continue;
            progress.questions = 0;
            std::int64_t next = 0;
            EXPECT_TRUE(ForEachPiece(count, units, pace, [&](std::int64_t first, std::int64_t end) {
                EXPECT_EQ(first, next);
                EXPECT_GT(end, first);
                next = end;
            }));
            EXPECT_EQ(next, count);
            // Never more than one question a number, however much work that is.
            const std::int64_t expected = std::min(count, count * units / (2 * CWorkPace::c_workPerQuestion));
            EXPECT_GE(progress.questions, expected);
        }
    }
}

TEST(CWorkPace, APieceIsTheLastOnceCancelled) {
    CCountedQuestions progress;
    progress.goOnTimes = 0;
    CWorkPace pace(progress);
    std::int64_t done = 0;
    EXPECT_FALSE(ForEachPiece(1000, CWorkPace::c_workPerQuestion, pace,
                              [&](std::int64_t /*first*/, std::int64_t end) { done = end; }));
    EXPECT_EQ(done, 1);
}
