#include "topology/SimplePointTest.h"
#include "src/topology/TopologyTools.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace {

using namespace ORVEN;
using Cell = std::array<std::size_t, 3>; // i, j, k

/// A helper whose cube is set by hand.
class SimplePointTest : public testing::Test {
protected:
    template <class N>
    bool IsConnected(const std::vector<Cell>& cells, std::int32_t value = 1) {
        m_helper.m_cube = {};
        for (const auto& [i, j, k] : cells)
            m_helper.m_cube[i][j][k].value = value;
        return quillon::IsCubeConnected<N>(m_helper);
    }

    const CImage m_image{IMAGE_BINARY_FG, CSize(3, 3, 3), CSize(0, 0, 0)};
    CSkeletonHelper m_helper{m_image};
};

using N6 = CNeighborhood3dDiffN6;
using N14_1 = CNeighborhood3dDiffN14_1;
using N14_2 = CNeighborhood3dDiffN14_2;
using N26 = CNeighborhood3dDiffN26;

TEST_F(SimplePointTest, ACubeWithoutOnesIsNotConnected) {
    EXPECT_FALSE(IsConnected<N6>({}));
    EXPECT_FALSE(IsConnected<N26>({}));
    EXPECT_FALSE(IsConnected<N26>({{1, 1, 1}, {2, 1, 1}}, 2));
    EXPECT_FALSE(IsConnected<N26>({{1, 1, 1}, {2, 1, 1}}, -1));
}

TEST_F(SimplePointTest, TheFirstOfEachRowIsASeedSoThatDistantCellsOfTwoRowsPass) {
    EXPECT_TRUE(IsConnected<N6>({{1, 1, 1}, {3, 3, 3}}));
    EXPECT_TRUE(IsConnected<N6>({{3, 1, 1}, {1, 3, 1}, {2, 1, 3}, {3, 3, 3}}));
}

TEST_F(SimplePointTest, ASecondCellOfARowHasToBeReached) {
    EXPECT_FALSE(IsConnected<N6>({{1, 2, 2}, {3, 2, 2}}));
    EXPECT_FALSE(IsConnected<N26>({{1, 2, 2}, {3, 2, 2}}));
    EXPECT_TRUE(IsConnected<N6>({{1, 2, 2}, {2, 2, 2}, {3, 2, 2}}));
    // Seeded from a row beside it, and by a bridge over the middle.
    EXPECT_TRUE(IsConnected<N6>({{1, 2, 2}, {3, 2, 2}, {3, 2, 3}}));
    EXPECT_FALSE(IsConnected<N6>({{1, 2, 2}, {3, 2, 2}, {2, 2, 3}}));
    EXPECT_TRUE(IsConnected<N26>({{1, 2, 2}, {3, 2, 2}, {2, 2, 3}}));
}

TEST_F(SimplePointTest, TheNeighbourhoodDecidesWhatReaches) {
    // The third cell at (3, 2, 2) and one in the middle, on each side of each diagonal.
    const std::vector<Cell> falling{{1, 2, 2}, {3, 2, 2}, {2, 1, 2}};
    const std::vector<Cell> rising{{1, 2, 2}, {3, 2, 2}, {2, 3, 2}};
    EXPECT_FALSE(IsConnected<N6>(falling));
    EXPECT_TRUE(IsConnected<N14_1>(falling));
    EXPECT_FALSE(IsConnected<N14_2>(falling));
    EXPECT_TRUE(IsConnected<N26>(falling));
    EXPECT_FALSE(IsConnected<N6>(rising));
    EXPECT_FALSE(IsConnected<N14_1>(rising));
    EXPECT_TRUE(IsConnected<N14_2>(rising));
    EXPECT_TRUE(IsConnected<N26>(rising));
}

TEST_F(SimplePointTest, ThirdCellsPassItOnInTurn) {
    // A path of seven third cells around a plane: all behind gaps but the last.
    std::vector<Cell> path;
    for (const auto& [j, k] :
         std::vector<std::array<std::size_t, 2>>{{1, 1}, {2, 1}, {3, 1}, {3, 2}, {3, 3}, {2, 3}, {1, 3}}) {
        path.push_back({1, j, k});
        path.push_back({3, j, k});
    }
    EXPECT_FALSE(IsConnected<N6>(path));
    path.erase(path.end() - 2); // the last is a seed now
    EXPECT_TRUE(IsConnected<N6>(path));
}

TEST_F(SimplePointTest, CellsOfIndex0AreReadAndThoseOfIndex4AreNot) {
    // The first is reached but not among the total.
    EXPECT_FALSE(IsConnected<N6>({{1, 1, 1}, {0, 1, 1}}));
    EXPECT_TRUE(IsConnected<N6>({{3, 3, 3}, {4, 3, 3}}));
    EXPECT_TRUE(IsConnected<N26>({{3, 3, 3}, {4, 4, 4}}));
}

TEST_F(SimplePointTest, VisitedFlagsRemainSet) {
    EXPECT_TRUE(IsConnected<N6>({{1, 1, 1}, {2, 1, 1}}));
    EXPECT_TRUE(m_helper.m_cube[1][1][1].isVisited);
    EXPECT_TRUE(m_helper.m_cube[2][1][1].isVisited);
    EXPECT_FALSE(m_helper.m_cube[3][1][1].isVisited);
    // So a second run on the same cube reaches the seeds alone.
    EXPECT_FALSE(quillon::IsCubeConnected<N6>(m_helper));
}

TEST_F(SimplePointTest, APixelThatCanGoIsMarkedAndOneThatConnectsIsNot) {
    constexpr std::uint32_t left = 1U << 12;
    constexpr std::uint32_t right = 1U << 13;
    test::ForEachNeighborhood([]<class N>(std::type_identity<N>) {
        SCOPED_TRACE(N::id);
        test::CDefinition<N> definition;
        EXPECT_TRUE(definition.IsMarkedPoint(left));
        EXPECT_TRUE(definition.IsMarkedPoint(right));
        EXPECT_FALSE(definition.IsMarkedPoint(left | right));
        EXPECT_FALSE(definition.IsMarkedPoint(0));
        EXPECT_FALSE(definition.IsMarkedPoint((1U << 26) - 1));
    });
}

} // namespace
