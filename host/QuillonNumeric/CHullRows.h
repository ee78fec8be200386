#pragma once

#include "QuillonNumeric/ConvexHull3d.h"

#include <cstdint>
#include <vector>

namespace ORVEN {

/// The lattice points of a convex hull as one run along x for each row (y, z) of its bounding box.
///
/// Every facet (in 2-d, every edge) is added once. At each row of its closed projection along x, it sets the
/// end of the run that it bounds: the greatest or the least x on the inner side of its plane. Facets parallel
/// to the x axis bound no run; their rows lie on the boundaries of other facets. The arithmetic uses
/// integers, is exact, and proceeds in steps of quotient and remainder.
///
/// Time: linear in rows and facets, with one division per facet and line of rows. Memory: 8 bytes per row.
class CHullRows {
public:
    /// The range of x of the points of a row, both ends included; empty if last < first.
    struct StRun {
        std::int32_t first = 0;
        std::int32_t last = -1;
    };

    /// Creates empty rows with y from 0 to rowsY - 1 and z from 0 to rowsZ - 1. x starts at 0 as well.
    CHullRows(std::int64_t rowsY, std::int64_t rowsZ);

    void AddFacet(const StHullFacet& facet);
    /// Adds an edge of a counter-clockwise polygon in the plane z = 0.
    void AddEdge(const StLatticePoint& from, const StLatticePoint& to);

    [[nodiscard]] const StRun& Run(std::int64_t y, std::int64_t z) const {
        return m_runs[static_cast<std::size_t>(z * m_rowsY + y)];
    }
    [[nodiscard]] std::int64_t RowsY() const { return m_rowsY; }
    [[nodiscard]] std::int64_t RowsZ() const { return m_rowsZ; }

private:
    [[nodiscard]] StRun* RowsFrom(std::int64_t y, std::int64_t z) {
        return m_runs.data() + (z * m_rowsY + y);
    }

    std::int64_t m_rowsY;
    std::int64_t m_rowsZ;
    std::vector<StRun> m_runs;
};

} // namespace ORVEN
