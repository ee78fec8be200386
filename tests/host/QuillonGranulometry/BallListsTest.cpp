#include "QuillonGranulometry/BallLists.h"

#include "support/MemoryRefusal.h"

#include <QuillonBase/CProgressProxy.h>
#include <sorblib2image/CImage.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <random>
#include <utility>
#include <vector>

namespace {

using namespace ORVEN;

/// Balls of an image of two blocks.
class BallLists : public testing::Test {
protected:
    CImage m_image{IMAGE_GREY_32, CSize(8, 64, 8), CSize(0, 0, 0)};
    CLayerView<const std::int32_t> m_distances{std::as_const(m_image)};
    StBalls m_balls{3, m_distances, 1 << 30};
    CProgressProxy m_progress;
    CWorkPace m_pace{m_progress};
};

TEST_F(BallLists, TheListHasTheBallsOfAllBlocksLargestFirst) {
    ASSERT_EQ(m_balls.large.size(), 2U);
    std::mt19937 random(1);
    for (const std::size_t count : {0, 10, 20000}) { // sorted in two ways
        std::vector<std::int32_t> expected;
        for (std::size_t i = 0; i < count; ++i) {
            const auto squaredRadius = static_cast<std::int32_t>(random() % (1 << 30));
            m_balls.large[i % 2].push_back({static_cast<float>(i), 0.0F, 0.0F, squaredRadius});
            expected.push_back(squaredRadius);
        }
        std::ranges::sort(expected, std::ranges::greater());
        const CBallList list = SortedLargeBalls(m_balls, m_pace);
        std::vector<std::int32_t> found;
        for (const StPlacedBall& ball : list.Balls())
            found.push_back(ball.squaredRadius);
        EXPECT_EQ(found, expected);
        EXPECT_TRUE(m_balls.large[0].empty() && m_balls.large[1].empty());
    }
}

TEST_F(BallLists, AListThatDoesNotFitIsRefused) {
    m_balls.large[0].resize(4'000'000);
    test::ExpectRefusedForLackOfMemory("The list of balls",
                                       [this] { (void)SortedLargeBalls(m_balls, m_pace); });
}

} // namespace
