#include "segmentation/CBasins.h"
#include "segmentation/floods/CLevelEnds.h"
#include "segmentation/floods/CPixelQueue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

// What a flood keeps its pixels, basins and levels in, each against the simplest container that does the
// same.

using namespace ORVEN;

namespace {

/// Places beyond 32 bits.
CPixelQueue::Place Numbered(std::uint32_t number) { return CPixelQueue::Place{number} * 40000; }

std::uint32_t NumberOf(CPixelQueue::Place place) { return static_cast<std::uint32_t>(place / 40000); }

/// Takes all pixels, and whatever `body` adds.
template <class Body>
void TakeAll(CPixelQueue& queue, const Body& body) {
    while (!queue.IsEmpty())
        queue.TakeBlock(0, [&](CPixelQueue::Place place, CPixelQueue::Place) { body(NumberOf(place)); });
}

TEST(PixelQueue, ReturnsThePixelsInTheirOrderWhateverItsLength) {
    std::mt19937 random(5);
    CPixelQueue queue;
    std::uint32_t pushed = 0;
    std::uint32_t popped = 0;
    const auto push = [&](bool isWanted) {
        pushed += isWanted ? 1 : 0;
        if (isWanted && random() % 2 == 0)
            queue.PushBack(Numbered(pushed));
        else
            queue.PushBackIf(isWanted, Numbered(pushed));
    };
    // Grows over several blocks and runs empty again, many times. Pixels are added meanwhile, too.
    for (int round = 0; round < 60; ++round) {
        for (auto count = random() % 20000; count > 0; --count)
            push(random() % 2 == 0);
        for (auto blocks = round % 3 == 0 ? UINT32_MAX : random() % 3; blocks > 0 && !queue.IsEmpty();
             --blocks) {
            const std::uint32_t before = popped;
            bool areInOrder = true;
            const std::size_t count = queue.TakeBlock(0, [&](CPixelQueue::Place place, CPixelQueue::Place) {
                areInOrder = areInOrder && NumberOf(place) == ++popped;
                push(random() % 3 == 0);
            });
            ASSERT_TRUE(areInOrder);
            ASSERT_EQ(count, popped - before);
        }
        ASSERT_EQ(queue.IsEmpty(), pushed == popped);
    }
}

TEST(PixelQueue, ReadsAllOfABlockBeforeItIsFullOrRightThen) {
    for (const std::uint32_t length : {1U, 8191U, 8192U, 8193U, 16384U, 16385U}) {
        CPixelQueue queue;
        for (int round = 0; round < 3; ++round) {
            for (std::uint32_t i = 0; i < length; ++i)
                queue.PushBack(Numbered(i));
            std::uint32_t i = 0;
            TakeAll(queue, [&](std::uint32_t number) { ASSERT_EQ(number, i++) << length; });
            ASSERT_EQ(i, length);
        }
    }
}

TEST(PixelQueue, LooksAheadAsFarAsThePixelsThatAreTaken) {
    CPixelQueue queue;
    for (const std::uint32_t length : {5U, 9000U}) {
        for (std::uint32_t i = 0; i < length; ++i)
            queue.PushBack(Numbered(i));
        std::uint32_t first = 0;
        while (!queue.IsEmpty()) {
            std::vector<std::uint32_t> ahead;
            queue.TakeBlock(3, [&](CPixelQueue::Place, CPixelQueue::Place place) {
                ahead.push_back(NumberOf(place));
                if (ahead.size() == 1 && first == 0)
                    queue.PushBack(Numbered(length)); // not among those taken
            });
            const auto count = static_cast<std::uint32_t>(ahead.size());
            for (std::uint32_t i = 0; i < count; ++i)
                ASSERT_EQ(ahead[i], first + std::min(i + 3, count - 1)) << i;
            first += count;
        }
        EXPECT_EQ(first, length + 1);
    }
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
    std::vector<std::uint32_t> taken;
    TakeAll(queue, [&](std::uint32_t number) { taken.push_back(number); });
    EXPECT_EQ(taken, std::vector<std::uint32_t>{2});
}

TEST(PixelQueue, HoldsPlacesBelow2ToThe48) {
    CPixelQueue queue;
    const std::vector<CPixelQueue::Place> places{0, (CPixelQueue::Place{1} << 48) - 1, 0xFFFFFFFF,
                                                 CPixelQueue::Place{1} << 32};
    for (const auto place : places)
        queue.PushBack(place);
    std::vector<CPixelQueue::Place> taken;
    queue.TakeBlock(0, [&](CPixelQueue::Place place, CPixelQueue::Place) { taken.push_back(place); });
    EXPECT_EQ(taken, places);
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
