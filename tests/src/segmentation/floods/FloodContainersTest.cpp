#include "segmentation/CBasins.h"
#include "segmentation/floods/CLevelEnds.h"
#include "segmentation/floods/CPixelQueue.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>

// What a flood keeps its pixels, basins and levels in, each against the simplest container that does the
// same.

using namespace ORVEN;

namespace {

/// Places beyond 32 bits.
CPixelQueue::Place Numbered(std::uint32_t number) { return CPixelQueue::Place{number} * 40000; }

std::uint32_t NumberOf(CPixelQueue::Place place) { return static_cast<std::uint32_t>(place / 40000); }

TEST(PixelQueue, ReturnsThePixelsInTheirOrderWhateverItsLength) {
    std::mt19937 random(5);
    CPixelQueue queue;
    std::uint32_t pushed = 0;
    std::uint32_t popped = 0;
    // Grows over several blocks and runs empty again, many times.
    for (int round = 0; round < 60; ++round) {
        for (auto count = random() % 20000; count > 0; --count) {
            const bool isWanted = random() % 2 == 0;
            pushed += isWanted ? 1 : 0;
            if (isWanted && random() % 2 == 0)
                queue.PushBack(Numbered(pushed));
            else
                queue.PushBackIf(isWanted, Numbered(pushed));
        }
        for (auto count = round % 3 == 0 ? UINT32_MAX : random() % 20000; count > 0 && !queue.IsEmpty();
             --count)
            ASSERT_EQ(NumberOf(queue.PopFront()), ++popped);
        ASSERT_EQ(queue.IsEmpty(), pushed == popped);
    }
}

TEST(PixelQueue, ReadsAllOfABlockBeforeItIsFullOrRightThen) {
    for (const std::uint32_t length : {1U, 8191U, 8192U, 8193U, 16384U, 16385U}) {
        CPixelQueue queue;
        for (int round = 0; round < 3; ++round) {
            for (std::uint32_t i = 0; i < length; ++i)
                queue.PushBack(Numbered(i));
            for (std::uint32_t i = 0; i < length; ++i)
                ASSERT_EQ(NumberOf(queue.PopFront()), i) << length;
            ASSERT_TRUE(queue.IsEmpty()) << length;
        }
    }
}

TEST(PixelQueue, LooksAheadWithinTheQueueAndTheBlock) {
    CPixelQueue queue;
    for (std::uint32_t i = 0; i < 5; ++i)
        queue.PushBack(Numbered(i));
    EXPECT_EQ(NumberOf(queue.Ahead(4)), 4U);
    EXPECT_EQ(NumberOf(queue.Ahead(5)), 0U);
    for (std::uint32_t i = 5; i < 9000; ++i)
        queue.PushBack(Numbered(i));
    EXPECT_EQ(NumberOf(queue.Ahead(8191)), 8191U);
    EXPECT_EQ(NumberOf(queue.Ahead(8192)), 0U);
}

TEST(PixelQueue, IsEmptyAfterClearAndCanBeUsedAgain) {
    CPixelQueue queue;
    for (std::uint32_t i = 0; i < 20000; ++i)
        queue.PushBack(Numbered(i));
    queue.Clear();
    EXPECT_TRUE(queue.IsEmpty());
    queue.PushBackIf(false, Numbered(1));
    EXPECT_TRUE(queue.IsEmpty());
    queue.PushBack(Numbered(2));
    EXPECT_EQ(NumberOf(queue.PopFront()), 2U);
    EXPECT_TRUE(queue.IsEmpty());
}

TEST(PixelQueue, HoldsPlacesBelow2ToThe48) {
    CPixelQueue queue;
    const auto places = {CPixelQueue::Place{0}, (CPixelQueue::Place{1} << 48) - 1,
                         CPixelQueue::Place{0xFFFFFFFF}, CPixelQueue::Place{1} << 32};
    for (const auto place : places)
        queue.PushBack(place);
    for (const auto place : places)
        EXPECT_EQ(queue.PopFront(), place);
}

TEST(LevelEnds, AreThoseThatWereSetWithEmptyLevelsAmongThem) {
    std::mt19937 random(9);
    for (const unsigned mostPixels : {0U, 1U, 3U, 200U}) {
        std::vector<std::uint64_t> expected;
        std::uint64_t end = 0;
        for (int level = 0; level < 300; ++level)
            expected.push_back(end += random() % (mostPixels + 1));
        CLevelEnds ends(end, expected.size());
        for (std::size_t level = 0; level < expected.size(); ++level)
            ends.Set(level, expected[level]);
        for (const std::uint64_t next : expected)
            ASSERT_EQ(ends.Next(), next);
    }
}

TEST(Basins, CountThePixelsOfAllThatWereJoined) {
    std::mt19937 random(2);
    CBasins basins;
    std::vector<unsigned> sets; // a plain list of which number belongs to which set
    std::vector<std::uint64_t> pixelCounts;
    for (std::uint32_t number = 0; number < 9000; ++number) {
        ASSERT_EQ(basins.Add(UINT32_MAX), number);
        sets.push_back(number % 100);
        pixelCounts.push_back(number % 3);
        for (std::uint32_t i = 0; i < number % 3; ++i)
            basins.AddPixel(number);
    }
    for (std::uint32_t number = 100; number < 9000; ++number) {
        const std::uint32_t other =
            number - 100 * std::uniform_int_distribution<std::uint32_t>(1, number / 100)(random);
        basins.Join(basins.Find(number), basins.Find(other));
    }
    std::vector<std::uint64_t> expected(100, 0);
    for (std::uint32_t number = 0; number < 9000; ++number)
        expected[sets[number]] += pixelCounts[number];
    for (std::uint32_t number = 0; number < 9000; ++number)
        ASSERT_EQ(basins.PixelCount(basins.Find(number)), expected[sets[number]]);
    basins.Clear();
    EXPECT_FALSE(basins.Has(0));
    EXPECT_EQ(basins.Add(UINT32_MAX), 0U);
    EXPECT_TRUE(basins.Has(0));
    EXPECT_EQ(basins.PixelCount(0), 0U);
}

TEST(Basins, AreRefusedWhenTheNumbersRunOut) {
    CBasins basins;
    basins.Add(2);
    basins.Add(2);
    EXPECT_THROW(basins.Add(2), std::length_error);
}

} // namespace
