#pragma once

#include "topology/StAdjacency.h"
#include "topology/Unroll.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <tuple>

/// The test for simple points of `SimplePointTest.h`, for as many pixels at once as a word has bits.
///
/// In a cube of words, each word holds one cell of the cubes around all these pixels. The test is a circuit
/// of bitwise operations without branches or tables, and a compiler can process several words at once in
/// wider registers. It is based on these facts.
///
/// *Euler number.* Removing the centre removes the cells of the complex that have it as a corner: 1 point,
/// the edges to its neighbours, faces and solids. The Euler number stays the same if these, counted with
/// (-1)^dimension, sum to 0, that is, if there are as many edges and solids as there are faces, plus 1. A
/// cell is present if all of its other corners are set, which is an AND. With F possible faces, the condition
/// becomes edges + solids + missing faces = F + 1, so one counter and one comparison with a constant are
/// enough. For N26 the coefficients are those of N6 for the complement, and the change of the sum is the same
/// except for its sign. So the same circuit applies to the complement.
///
/// *Connectedness.* Every neighbourhood contains steps along x. So all set cells of a row of three are
/// connected to the first one, the seed, except the third cell in a row "set, empty, set". Only such third
/// cells can fail to be reached. A third cell is reached directly if it has a neighbour in the middle slab,
/// where all cells are reached, and otherwise through other third cells: a flood of 3 x 3 cells.
namespace quillon {

/// Cell (i, j, k), each from 0 to 2, i along x, is at index i + 3 j + 9 k.
template <class Word>
using WordCube = std::array<Word, 27>;

constexpr std::size_t c_cubeCenter = 13;

namespace circuit {

constexpr int CellIndex(std::int64_t i, std::int64_t j, std::int64_t k) {
    return static_cast<int>(i + 3 * j + 9 * k);
}

/// For each bit, counts the words that have it set, as the binary digits of the number, lowest first. As in
/// an adder, three words of a digit give one of that digit and one of the next.
template <class Word, std::size_t count>
constexpr auto CountWords(const std::array<Word, count>& words) {
    if constexpr (count == 1) {
        return words;
    } else {
        std::array<Word, count / 2> carries{};
        Word sum = words[0];
        Unroll<count / 2>([&](auto pair) {
            const Word first = words[2 * pair + 1];
            if constexpr (2 * pair + 2 < count) {
                const Word second = words[2 * pair + 2];
                const Word differs = sum ^ first;
                carries[pair] = (sum & first) | (differs & second);
                sum = differs ^ second;
            } else {
                carries[pair] = sum & first;
                sum ^= first;
            }
        });
        const auto higher = CountWords(carries);
        std::array<Word, 1 + std::tuple_size_v<decltype(higher)>> digits{sum};
        Unroll<std::tuple_size_v<decltype(higher)>>([&](auto digit) { digits[digit + 1] = higher[digit]; });
        return digits;
    }
}

/// A cell of a complex that has the centre as a corner, given by its other corners.
struct StComplexCell {
    std::array<std::size_t, 7> corners{};
    std::size_t cornerCount = 0;
    int dimension = 0;

    constexpr void Add(int corner) { corners[cornerCount++] = static_cast<std::size_t>(corner); }
};

/// For N6: the boxes that have the centre and one neighbour of the block as opposite corners, one box per
/// neighbour.
constexpr auto BoxesAroundCenter() {
    using Block = ORVEN::CNeighborhood3dDiffN26;
    std::array<StComplexCell, Block::count> boxes{};
    for (std::size_t n = 0; n < Block::count; ++n) {
        const std::int64_t dx = Block::dx[n];
        const std::int64_t dy = Block::dy[n];
        const std::int64_t dz = Block::dz[n];
        boxes[n].dimension = static_cast<int>(dx * dx + dy * dy + dz * dz);
        for (int corner = 1; corner < 8; ++corner) {
            const bool stepsX = (corner & 1) != 0;
            const bool stepsY = (corner & 2) != 0;
            const bool stepsZ = (corner & 4) != 0;
            if ((dx != 0 || !stepsX) && (dy != 0 || !stepsY) && (dz != 0 || !stepsZ))
                boxes[n].Add(CellIndex(1 + stepsX * dx, 1 + stepsY * dy, 1 + stepsZ * dz));
        }
    }
    return boxes;
}

/// For the others: the simplices, that is all sets of the centre and neighbours in which any two are
/// neighbours of each other. There are 14 edges, 36 triangles and 24 tetrahedra.
template <class N>
constexpr auto SimplicesAroundCenter() {
    const auto areNeighbors = [](std::size_t a, std::size_t b) {
        for (std::size_t n = 0; n < N::count; ++n) {
            if (N::dx[b] - N::dx[a] == N::dx[n] && N::dy[b] - N::dy[a] == N::dy[n] &&
                N::dz[b] - N::dz[a] == N::dz[n])
                return true;
        }
        return false;
    };
    std::array<StComplexCell, 14 + 36 + 24> simplices{};
    std::size_t found = 0;
    const auto add = [&](int dimension, auto... neighbor) {
        StComplexCell& simplex = simplices.at(found++);
        simplex.dimension = dimension;
        (simplex.Add(CellIndex(1 + N::dx[neighbor], 1 + N::dy[neighbor], 1 + N::dz[neighbor])), ...);
    };
    for (std::size_t a = 0; a < N::count; ++a) {
        add(1, a);
        for (std::size_t b = a + 1; b < N::count; ++b) {
            if (!areNeighbors(a, b))
                continue;
            add(2, a, b);
            for (std::size_t c = b + 1; c < N::count; ++c) {
                if (areNeighbors(a, c) && areNeighbors(b, c))
                    add(3, a, b, c);
            }
        }
    }
    return simplices;
}

template <class N>
inline constexpr auto c_cellsAroundCenter = SimplicesAroundCenter<N>();
template <>
inline constexpr auto c_cellsAroundCenter<ORVEN::CNeighborhood3dDiffN6> = BoxesAroundCenter();

/// The neighbours of cell `at` of the third slab that lie in slab `i` of the cube, by index.
template <class N, std::size_t at, int i>
constexpr auto NeighborsOfThird() {
    struct {
        std::array<std::size_t, 9> cells{};
        std::size_t count = 0;
    } found;
    for (std::size_t n = 0; n < N::count; ++n) {
        const std::int64_t j = static_cast<std::int64_t>(at % 3) + N::dy[n];
        const std::int64_t k = static_cast<std::int64_t>(at / 3) + N::dz[n];
        if (2 + N::dx[n] == i && j >= 0 && j <= 2 && k >= 0 && k <= 2)
            found.cells[found.count++] = static_cast<std::size_t>(CellIndex(i, j, k));
    }
    return found;
}

} // namespace circuit

/// The bits for which removing the centre does not change the Euler number of the cube.
template <class N, class Word>
constexpr Word KeepsEulerNumber(const WordCube<Word>& cube) {
    constexpr auto& cells = circuit::c_cellsAroundCenter<N>;
    std::array<Word, cells.size()> addends{};
    Unroll<cells.size()>([&](auto index) {
        constexpr const circuit::StComplexCell& cell = cells[index];
        Word isPresent = cube[cell.corners[0]];
        Unroll<cell.cornerCount - 1>([&](auto corner) { isPresent &= cube[cell.corners[corner + 1]]; });
        addends[index] = cell.dimension == 2 ? ~isPresent : isPresent;
    });
    constexpr std::size_t expected = [] {
        std::size_t faceCount = 0;
        for (const circuit::StComplexCell& cell : cells)
            faceCount += cell.dimension == 2 ? 1 : 0;
        return faceCount + 1;
    }();
    const auto count = circuit::CountWords(addends);
    Word isEqual = ~Word{};
    Unroll<std::tuple_size_v<decltype(count)>>(
        [&](auto digit) { isEqual &= (expected >> digit & 1) != 0 ? count[digit] : ~count[digit]; });
    return isEqual;
}

/// The bits for which a cube with an empty centre is connected in the sense of `IsCubeConnected`.
template <class N, class Word>
constexpr Word IsCubeConnected(const WordCube<Word>& cube) {
    std::array<Word, 9> reached{};
    Word any{};
    Unroll<9>([&](auto row) {
        const Word first = cube[3 * row];
        const Word third = cube[3 * row + 2];
        any |= first | cube[3 * row + 1] | third;
        // The second cell is among the neighbours: where it is set, there is no gap.
        constexpr auto beside = circuit::NeighborsOfThird<N, row, 1>();
        Word isReached = ~first;
        Unroll<beside.count>([&](auto index) { isReached |= cube[beside.cells[index]]; });
        reached[row] = third & isReached;
    });
    // The sweeps alternate between both directions of the row order. In 3 x 3 cells, with any neighbourhood,
    // a sixth sweep would reach nothing new.
    Unroll<5>([&](auto sweep) {
        Unroll<9>([&](auto step) {
            constexpr bool isForward = sweep % 2 == 0;
            constexpr std::size_t row = isForward ? step : 8 - step;
            constexpr auto around = circuit::NeighborsOfThird<N, row, 2>();
            Word isBeside{};
            Unroll<around.count>([&](auto index) {
                constexpr std::size_t other = around.cells[index] / 3;
                if constexpr (isForward ? other < row : other > row)
                    isBeside |= reached[other];
            });
            reached[row] |= cube[3 * row + 2] & isBeside;
        });
    });
    Word isMissing{};
    Unroll<9>([&](auto row) { isMissing |= cube[3 * row + 2] & ~reached[row]; });
    return any & ~isMissing;
}

/// The bits for which `IsMarkedPoint` returns true for a foreground pixel. The centre of the cube is not
/// read.
template <class N, class Word>
constexpr Word IsMarkedPoint(WordCube<Word> foreground) {
    WordCube<Word> background{};
    Unroll<27>([&](auto cell) { background[cell] = ~foreground[cell]; });
    foreground[c_cubeCenter] = Word{};
    background[c_cubeCenter] = Word{};
    Word isMarked;
    if constexpr (StAdjacency<N>::eulerCode == 21)
        isMarked = KeepsEulerNumber<typename StAdjacency<N>::Background>(background);
    else
        isMarked = KeepsEulerNumber<N>(foreground);
    return isMarked & IsCubeConnected<N>(foreground) &
           IsCubeConnected<typename StAdjacency<N>::Background>(background);
}

} // namespace quillon
