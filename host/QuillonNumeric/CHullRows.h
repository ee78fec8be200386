#pragma once

#include "QuillonNumeric/ConvexHull3d.h"

#include <cstdint>
#include <vector>

namespace ORVEN {

/// The lattice points of a convex hull as one run along x for each row (y, z) of the box around it.
///
/// Every facet, in 2-d every edge, is added once and writes the end of the runs that it bounds: the greatest
/// x on the inner side of its plane, or the least, at each row of its closed projection along x. Facets that
/// stand upright over the rows bound none; their rows belong to the rims of others. Exact whole-numbered
/// arithmetic, in steps of quotient and remainder: time is that of the rows and facets, with one division a
/// facet and line of rows. Memory: 8 bytes a row.
class CHullRows {
public:
    /// The x of the points of a row, both included; none if last < first.
    struct StRun {
        std::int32_t first = 0;
        std::int32_t last = -1;
    };

    /// Empty rows with y from 0 to rowsY - 1 and z from 0 to rowsZ - 1; x starts at 0 as well.
    CHullRows(std::int64_t rowsY, std::int64_t rowsZ);

    void AddFacet(const StHullFacet& facet);
    /// An edge of a polygon in the plane z = 0 that goes round counter-clockwise.
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
