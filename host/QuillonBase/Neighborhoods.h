#pragma once

#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <type_traits>

/// The neighbourhoods of the pixel grid, as template arguments: a loop over a neighbourhood is compiled for
/// its table and its length.
///
/// Entry i of `dx`, `dy` and `dz` together is the offset of neighbour i. A table lists both directions of
/// each step, but not the centre. The entries are in raster order, with dz slowest, then dy, then dx, each
/// ascending, so that entries i and count - 1 - i are opposite. Callers depend on this order, because it
/// decides which of two equally near regions reaches a pixel first. The `dz` of two-dimensional tables is all
/// zeros.
///
/// In three dimensions, N4 and N6 contain the steps along the axes; N8 and N26 contain the whole block around
/// a pixel. The others are the edges of a triangulation of the grid and are their own duals: object and
/// background use the same neighbourhood. N14_1 splits each cube into the six tetrahedra along the monotone
/// paths from (0,0,0) to (1,1,1) (H. Freudenthal, "Simplizialzerlegungen von beschränkter Flachheit", 1942;
/// H. W. Kuhn, "Some combinatorial lemmas in topology", 1960), and N14_2 is its mirror image in x. N6_1 and
/// N6_2 are their restrictions to a plane. For duality see T. Y. Kong, A. Rosenfeld, "Digital topology:
/// introduction and survey", 1989.
namespace ORVEN {

namespace Impl {

constexpr bool IsAxisStep(int dx, int dy, int dz) { return dx * dx + dy * dy + dz * dz == 1; }

constexpr bool IsBlockStep(int dx, int dy, int dz) { return dx != 0 || dy != 0 || dz != 0; }

/// True if no two coordinates have opposite signs: the step is an edge of the split along paths from (0,0,0)
/// to (1,1,1).
constexpr bool IsMonotoneStep(int dx, int dy, int dz) {
    return IsBlockStep(dx, dy, dz) && dx * dy >= 0 && dx * dz >= 0 && dy * dz >= 0;
}

constexpr bool IsMirroredMonotoneStep(int dx, int dy, int dz) { return IsMonotoneStep(-dx, dy, dz); }

using StepTest = bool (*)(int dx, int dy, int dz);

/// The tables of a neighbourhood. A neighbour count that does not match the step test does not compile.
template <int imageDimension, std::size_t neighborCount, StepTest isNeighbor>
struct StNeighborhood {
    static constexpr int dimension = imageDimension;
    static constexpr std::size_t count = neighborCount;

private:
    using Table = std::array<std::int64_t, neighborCount>;

    static consteval Table Offsets(std::size_t axis) {
        constexpr int depth = imageDimension == 3 ? 1 : 0;
        Table table{};
        std::size_t found = 0;
        for (int z = -depth; z <= depth; ++z) {
            for (int y = -1; y <= 1; ++y) {
                for (int x = -1; x <= 1; ++x) {
                    if (isNeighbor(x, y, z))
                        table.at(found++) = std::array{x, y, z}.at(axis);
                }
            }
        }
        if (found != neighborCount)
            throw std::logic_error("The length of the table is wrong.");
        return table;
    }

public:
    static constexpr Table dx = Offsets(0);
    static constexpr Table dy = Offsets(1);
    static constexpr Table dz = Offsets(2);
};

} // namespace Impl

struct CNeighborhood3dDiffN6 : Impl::StNeighborhood<3, 6, Impl::IsAxisStep> {
    static constexpr const char* id = "N6";
};

struct CNeighborhood3dDiffN14_1 : Impl::StNeighborhood<3, 14, Impl::IsMonotoneStep> {
    static constexpr const char* id = "N14_1";
};

struct CNeighborhood3dDiffN14_2 : Impl::StNeighborhood<3, 14, Impl::IsMirroredMonotoneStep> {
    static constexpr const char* id = "N14_2";
};

struct CNeighborhood3dDiffN26 : Impl::StNeighborhood<3, 26, Impl::IsBlockStep> {
    static constexpr const char* id = "N26";
};

struct CNeighborhood2dDiffN4 : Impl::StNeighborhood<2, 4, Impl::IsAxisStep> {
    static constexpr const char* id = "N4";
};

struct CNeighborhood2dDiffN6_1 : Impl::StNeighborhood<2, 6, Impl::IsMonotoneStep> {
    static constexpr const char* id = "N6_1";
};

struct CNeighborhood2dDiffN6_2 : Impl::StNeighborhood<2, 6, Impl::IsMirroredMonotoneStep> {
    static constexpr const char* id = "N6_2";
};

struct CNeighborhood2dDiffN8 : Impl::StNeighborhood<2, 8, Impl::IsBlockStep> {
    static constexpr const char* id = "N8";
};

/// Returns `work(std::type_identity<N>())` for the neighbourhood N in three dimensions with the given id. Any
/// other id raises `CException` with the source `site`.
template <class Work>
decltype(auto) With3dNeighborhood(const char* site, const CString& id, const Work& work) {
    if (id == CNeighborhood3dDiffN6::id)
        return work(std::type_identity<CNeighborhood3dDiffN6>());
    if (id == CNeighborhood3dDiffN14_1::id)
        return work(std::type_identity<CNeighborhood3dDiffN14_1>());
    if (id == CNeighborhood3dDiffN14_2::id)
        return work(std::type_identity<CNeighborhood3dDiffN14_2>());
    if (id == CNeighborhood3dDiffN26::id)
        return work(std::type_identity<CNeighborhood3dDiffN26>());
    throw CException(site, CString("Invalid neighborhood id '%1'.", CString::ENC_UTF8).Arg(id), nullptr);
}

} // namespace ORVEN
