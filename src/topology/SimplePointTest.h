#pragma once

#include "topology/StAdjacency.h"

#include <QuillonTransformation/CSkeletonHelper.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

/// The test for simple points, step by step and for one pixel. It is the reference for `SimplePointWords.h`,
/// which tests 64 pixels at once.
namespace quillon {

/// Whether every cell of value 1 in the helper's cube can be reached, through cells of value 1, from the
/// first such cell along x of any row. Returns false for a cube without such cells. Leaves visited flags in
/// the cube.
///
/// Each row provides a seed. With a single seed this would be the test for one component, which is
/// deliberately not what it is.
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
            // Index 0 needs no test: the cells there are never 1.
            if (next[0] > 3 || next[1] > 3 || next[2] > 3)
                continue;
            const auto& cell = cube[next[0]][next[1]][next[2]];
            if (cell.value == 1 && !cell.isVisited)
                reach(next);
        }
    }
    return total == reached;
}

/// Whether the foreground pixel at the position has to be marked: removing it does not change the Euler
/// number of its cube, and foreground and background of the remaining cube are both connected in the above
/// sense. The helper has the coefficients of the neighbourhood.
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
