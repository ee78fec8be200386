#pragma once

#include <QuillonBase/Neighborhoods.h>

#include <array>
#include <bitset>
#include <cstdint>

/// Determines which pixels of a 3-d binary image are simple. A simple pixel can change between object and
/// background without changing the topology, that is, the components, tunnels and cavities of either. The
/// answer is exact and depends on the 26 neighbours only.
///
/// Object and background use dual neighbourhoods: N26 with N6, N6 with N26, and N14_1 and N14_2 each with
/// itself. With N26, a pixel is simple if its object neighbours form one 26-component, and exactly one
/// 6-component of the background among the 18 neighbours with at most two steps touches a face neighbour.
/// With N6, the same holds with object and background exchanged. With N14_k, a pixel is simple if both the
/// object and the background among the 14 neighbours form one component: the neighbours are the corners of a
/// triangulated sphere, and the part of it that the object fills is contractible exactly if that part and the
/// rest are both connected and not empty.
///
/// G. Bertrand, G. Malandain, "A new characterization of three-dimensional simple points", 1994. For N14_k
/// cf. T. Y. Kong, A. Rosenfeld, "Digital topology: introduction and survey", 1989.
namespace ORVEN {

/// Position of an offset in a block, the 27 bits of a pixel and its neighbours: planes by z, columns by x.
constexpr unsigned BlockBit(std::int64_t dx, std::int64_t dy, std::int64_t dz) {
    return static_cast<unsigned>(9 * (dz + 1) + 3 * (dx + 1) + (dy + 1));
}

/// Tests whether the centre pixel of a block is simple. The pixel's own bit is ignored.
template <class Neighborhood>
class CSimplePoints;

template <>
class CSimplePoints<CNeighborhood3dDiffN26> {
public:
    /// Builds its 160 KiB of tables on the first call, in a few milliseconds.
    static const CSimplePoints& Obj();

    bool operator()(std::uint32_t block) const {
        const std::uint32_t lower = block & 0x1FF;
        const std::uint32_t middle = WithoutCentre(block >> 9);
        const std::uint32_t upper = block >> 18 & 0x1FF;
        return m_isBackgroundConnected[Cross(lower) | middle << 5 | Cross(upper) << 13] &&
               m_lostEulerNumber[middle << 9 | lower] + m_lostEulerNumber[middle << 9 | upper] == 0;
    }

private:
    CSimplePoints();

    /// The 8 bits of a plane around its centre.
    static constexpr std::uint32_t WithoutCentre(std::uint32_t plane) {
        return (plane & 0x0F) | (plane >> 1 & 0xF0);
    }
    /// The 5 bits of the centre of a plane and its neighbours along the axes.
    static constexpr std::uint32_t Cross(std::uint32_t plane) {
        return (plane >> 1 & 0x01) | (plane >> 2 & 0x0E) | (plane >> 3 & 0x10);
    }

    std::bitset<1 << 18> m_isBackgroundConnected;
    // If the background is connected, the object neighbours are connected exactly if the Euler number does
    // not change: two look-ups replace a flood fill. Each entry is the loss for a half block, with cells in
    // the outer plane counted twice and cells in the middle plane, which both halves share, once.
    std::array<std::int8_t, 1 << 17> m_lostEulerNumber{};
};

template <>
class CSimplePoints<CNeighborhood3dDiffN6> {
public:
    static const CSimplePoints& Obj();

    bool operator()(std::uint32_t block) const { return m_dual(~block); }

private:
    CSimplePoints() = default;

    const CSimplePoints<CNeighborhood3dDiffN26>& m_dual = CSimplePoints<CNeighborhood3dDiffN26>::Obj();
};

/// For the two neighbourhoods with 14 neighbours.
template <class Neighborhood>
class CSimplePoints {
public:
    /// Builds its 5 KiB of tables on the first call.
    static const CSimplePoints& Obj();

    bool operator()(std::uint32_t block) const { return m_isSimple[NeighborsOf(block)]; }

private:
    CSimplePoints();

    /// The bits of the neighbours, in the order of the neighbourhood's table.
    [[nodiscard]] std::uint32_t NeighborsOf(std::uint32_t block) const {
        return m_neighbors[0][block & 0x1FF] | m_neighbors[1][block >> 9 & 0x1FF] |
               m_neighbors[2][block >> 18 & 0x1FF];
    }

    std::array<std::array<std::uint16_t, 512>, 3> m_neighbors{}; // by plane
    std::bitset<1 << 14> m_isSimple;
};

extern template class CSimplePoints<CNeighborhood3dDiffN14_1>;
extern template class CSimplePoints<CNeighborhood3dDiffN14_2>;

} // namespace ORVEN
