#include "QuillonTransformation/thinning/SimplePoints.h"

#include <algorithm>
#include <bit>
#include <cstddef>

namespace ORVEN {

namespace {

constexpr std::uint32_t Bit(std::int64_t dx, std::int64_t dy, std::int64_t dz) {
    return std::uint32_t{1} << BlockBit(dx, dy, dz);
}

/// The neighbours of the centre pixel of a block.
template <class Neighborhood>
consteval std::uint32_t AllOf() {
    std::uint32_t block = 0;
    for (std::size_t i = 0; i < Neighborhood::count; ++i)
        block |= Bit(Neighborhood::dx[i], Neighborhood::dy[i], Neighborhood::dz[i]);
    return block;
}

constexpr std::uint32_t c_faceNeighbors = AllOf<CNeighborhood3dDiffN6>();
constexpr std::uint32_t c_corners = Bit(-1, -1, -1) | Bit(1, -1, -1) | Bit(-1, 1, -1) | Bit(1, 1, -1) |
                                    Bit(-1, -1, 1) | Bit(1, -1, 1) | Bit(-1, 1, 1) | Bit(1, 1, 1);
constexpr std::uint32_t c_atMostTwoSteps = AllOf<CNeighborhood3dDiffN26>() & ~c_corners;

/// The pixels of a block together with their neighbours along the axes.
constexpr std::uint32_t GrownByN6(std::uint32_t block) {
    constexpr std::uint32_t notFirstY = 0b110110110110110110110110110;
    constexpr std::uint32_t notLastY = notFirstY >> 1;
    constexpr std::uint32_t notFirstX = 0b111111000111111000111111000;
    constexpr std::uint32_t notLastX = notFirstX >> 3;
    return block | (block << 1 & notFirstY) | (block >> 1 & notLastY) | (block << 3 & notFirstX) |
           (block >> 3 & notLastX) | block << 9 | block >> 9;
}

/// The component of `whole` that contains `part`; `grow` adds the neighbours.
template <class Grow>
std::uint32_t Flood(std::uint32_t part, std::uint32_t whole, const Grow& grow) {
    for (;;) {
        const std::uint32_t grown = grow(part) & whole;
        if (grown == part)
            return part;
        part = grown;
    }
}

constexpr std::uint32_t LowestBit(std::uint32_t bits) { return bits & (0U - bits); }

/// Calls `body(index, part)` for all subsets of `whole`, ascending. This is the order of the bits in the
/// index of a table.
template <class Body>
void ForEachPart(std::uint32_t whole, const Body& body) {
    std::uint32_t part = 0;
    std::size_t index = 0;
    do {
        body(index++, part);
        part = (part - whole) & whole;
    } while (part != 0);
}

/// The bits of `bits` that are set in `mask`, packed together.
std::uint32_t Packed(std::uint32_t bits, std::uint32_t mask) {
    std::uint32_t packed = 0;
    for (unsigned place = 0; mask != 0; mask &= mask - 1)
        packed |= ((bits & LowestBit(mask)) != 0 ? 1U : 0U) << place++;
    return packed;
}

/// Whether there are face neighbours in the background, all in one 6-component of it.
bool AreFacesConnected(std::uint32_t background) {
    const std::uint32_t faces = background & c_faceNeighbors;
    return faces != 0 && (faces & ~Flood(LowestBit(faces), background, GrownByN6)) == 0;
}

/// The pixel itself or a cell at its surface. Removing the pixel removes the cell unless another pixel owns
/// it.
struct StCell {
    std::uint32_t otherOwners;
    std::int8_t sign; ///< of its contribution to the Euler number
};

/// The cells whose centre is displaced from the pixel's by `dz` / 2 along z.
consteval std::array<StCell, 9> CellsAtHeight(int dz) {
    std::array<StCell, 9> cells{};
    std::size_t found = 0;
    for (const int dy : {-1, 0, 1}) {
        for (const int dx : {-1, 0, 1}) {
            StCell& cell = cells.at(found++);
            for (const int z : {0, dz}) {
                for (const int y : {0, dy}) {
                    for (const int x : {0, dx})
                        cell.otherOwners |= Bit(x, y, z);
                }
            }
            cell.otherOwners &= ~Bit(0, 0, 0);
            const bool isOdd = (dx == 0) ^ (dy == 0) ^ (dz == 0);
            cell.sign = isOdd ? -1 : 1;
        }
    }
    return cells;
}

int LostEulerNumber(const std::array<StCell, 9>& cells, std::uint32_t block) {
    int lost = 0;
    for (const StCell& cell : cells)
        lost += (block & cell.otherOwners) == 0 ? cell.sign : 0;
    return lost;
}

template <class Neighborhood>
std::uint32_t GrownBy(std::uint32_t block) {
    static constexpr std::array<std::uint32_t, 27> neighborsOf = [] {
        std::array<std::uint32_t, 27> neighbors{};
        for (int bit = 0; bit < 27; ++bit) {
            for (std::size_t i = 0; i < Neighborhood::count; ++i) {
                const std::int64_t z = bit / 9 - 1 + Neighborhood::dz[i];
                const std::int64_t x = bit / 3 % 3 - 1 + Neighborhood::dx[i];
                const std::int64_t y = bit % 3 - 1 + Neighborhood::dy[i];
                if (std::max({x * x, y * y, z * z}) <= 1)
                    neighbors.at(static_cast<std::size_t>(bit)) |= Bit(x, y, z);
            }
        }
        return neighbors;
    }();
    std::uint32_t grown = block;
    for (; block != 0; block &= block - 1)
        grown |= neighborsOf[static_cast<std::size_t>(std::countr_zero(block))];
    return grown;
}

template <class Neighborhood>
bool IsOneComponent(std::uint32_t pixels) {
    return pixels != 0 && Flood(LowestBit(pixels), pixels, GrownBy<Neighborhood>) == pixels;
}

} // namespace

const CSimplePoints<CNeighborhood3dDiffN26>& CSimplePoints<CNeighborhood3dDiffN26>::Obj() {
    static const CSimplePoints points;
    return points;
}

CSimplePoints<CNeighborhood3dDiffN26>::CSimplePoints() {
    ForEachPart(c_atMostTwoSteps, [&](std::size_t index, std::uint32_t object) {
        m_isBackgroundConnected[index] = AreFacesConnected(c_atMostTwoSteps & ~object);
    });
    static constexpr std::array<StCell, 9> lowerCells = CellsAtHeight(-1);
    static constexpr std::array<StCell, 9> middleCells = CellsAtHeight(0);
    constexpr std::uint32_t lowerHalf = (Bit(1, 1, 0) * 2 - 1) & ~Bit(0, 0, 0);
    ForEachPart(lowerHalf, [&](std::size_t index, std::uint32_t object) {
        m_lostEulerNumber[index] = static_cast<std::int8_t>(2 * LostEulerNumber(lowerCells, object) +
                                                            LostEulerNumber(middleCells, object));
    });
}

const CSimplePoints<CNeighborhood3dDiffN6>& CSimplePoints<CNeighborhood3dDiffN6>::Obj() {
    static const CSimplePoints points;
    return points;
}

template <class Neighborhood>
const CSimplePoints<Neighborhood>& CSimplePoints<Neighborhood>::Obj() {
    static const CSimplePoints points;
    return points;
}

template <class Neighborhood>
CSimplePoints<Neighborhood>::CSimplePoints() {
    constexpr std::uint32_t all = AllOf<Neighborhood>();
    std::uint32_t shift = 0;
    for (std::size_t plane = 0; plane < m_neighbors.size(); ++plane) {
        const std::uint32_t neighbors = all >> (9 * plane) & 0x1FF;
        for (std::uint32_t pixels = 0; pixels < 512; ++pixels)
            m_neighbors[plane][pixels] = static_cast<std::uint16_t>(Packed(pixels, neighbors) << shift);
        shift += static_cast<std::uint32_t>(std::popcount(neighbors));
    }
    ForEachPart(all, [&](std::size_t index, std::uint32_t object) {
        m_isSimple[index] =
            IsOneComponent<Neighborhood>(object) && IsOneComponent<Neighborhood>(all & ~object);
    });
}

template class CSimplePoints<CNeighborhood3dDiffN14_1>;
template class CSimplePoints<CNeighborhood3dDiffN14_2>;

} // namespace ORVEN
