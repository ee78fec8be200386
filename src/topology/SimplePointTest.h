#pragma once

#include "topology/Adjacency.h"

#include <QuillonTransformation/CSkeletonHelper.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

/// The test for simple points, told step by step at one pixel: the definition that `SimplePointWords.h`,
/// which does 64 pixels at once, is held against.
namespace quillon {

/// Whether every cell of value 1 of the helper's cube can be reached, through cells of value 1, from the
/// first such cell along x of some row. A cube without any answers false. Leaves visited flags behind.
///
/// Each row gives a seed. One seed for all would be the test for one component; that is not what this is.
template <class N>
bool IsCubeConnected(ORVEN::CSkeletonHelper& helper) {
    using Cell = std::array<std::uint32_t, 3>;
    auto& cube = helper.m_cube;
    std::vector<Cell> stack;
    std::size_t total = 0;
    std::size_t reached = 0;
    const auto reach = [&](const Cell& at) {
        cube[at[0]][at[1]][at[2]].isVisited = true;
        stack.push_back(at);
        ++reached;
    };
    for (std::uint32_t k = 1; k <= 3; ++k) {
        for (std::uint32_t j = 1; j <= 3; ++j) {
            bool isSeeded = false;
            for (std::uint32_t i = 1; i <= 3; ++i) {
                if (cube[i][j][k].value != 1)
                    continue;
                ++total;
                if (!isSeeded)
                    reach({i, j, k});
                isSeeded = true;
            }
        }
    }
    if (stack.empty())
        return false;
    while (!stack.empty()) {
        const Cell at = stack.back();
        stack.pop_back();
        for (std::size_t n = 0; n < N::count; ++n) {
            const Cell next{at[0] + static_cast<std::uint32_t>(N::dx[n]),
                            at[1] + static_cast<std::uint32_t>(N::dy[n]),
                            at[2] + static_cast<std::uint32_t>(N::dz[n])};
            // Index 0 passes: the cells there are never 1.
            if (next[0] > 3 || next[1] > 3 || next[2] > 3)
                continue;
            const auto& cell = cube[next[0]][next[1]][next[2]];
            if (cell.value == 1 && !cell.isVisited)
                reach(next);
        }
    }
    return total == reached;
}

/// Whether the foreground pixel at the position is to be marked: without it the Euler number of its cube is
/// the same, and of what is left of the cube, foreground and background are connected as told above. The
/// helper has the coefficients of the neighbourhood.
template <class N>
bool IsMarkedPoint(ORVEN::CSkeletonHelper& helper, const ORVEN::CTriple<long long>& position) {
    const auto clearCenter = [&] { helper.m_cube[2][2][2].value = 0; };
    helper.createCube(position, 1, 0);
    const int eulerNumber = helper.EulerNumber();
    clearCenter();
    if (helper.EulerNumber() != eulerNumber)
        return false;
    helper.createCube(position, 1, 0);
    clearCenter();
    if (!IsCubeConnected<N>(helper))
        return false;
    helper.createCube(position, 0, 0);
    clearCenter();
    return IsCubeConnected<typename StAdjacency<N>::Background>(helper);
}

} // namespace quillon
