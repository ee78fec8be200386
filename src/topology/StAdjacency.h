#pragma once

#include <QuillonBase/Neighborhoods.h>

namespace quillon {

/// For neighbourhood N of the foreground: the code of its Euler coefficients, and the matching neighbourhood
/// of the background.
template <class N>
struct StAdjacency;

template <>
struct StAdjacency<ORVEN::CNeighborhood3dDiffN6> {
    static constexpr int eulerCode = 12;
    using Background = ORVEN::CNeighborhood3dDiffN26;
};

template <>
struct StAdjacency<ORVEN::CNeighborhood3dDiffN26> {
    static constexpr int eulerCode = 21;
    using Background = ORVEN::CNeighborhood3dDiffN6;
};

template <>
struct StAdjacency<ORVEN::CNeighborhood3dDiffN14_1> {
    static constexpr int eulerCode = 15;
    using Background = ORVEN::CNeighborhood3dDiffN14_1;
};

template <>
struct StAdjacency<ORVEN::CNeighborhood3dDiffN14_2> {
    static constexpr int eulerCode = 18;
    using Background = ORVEN::CNeighborhood3dDiffN14_2;
};

} // namespace quillon
