#pragma once

#include <QuillonBase/CWorkPace.h>
#include <QuillonBase/VectorDispatch.h>

#include <algorithm>
#include <cstdint>

/// The order of work of an in-place transform of a whole image that processes one axis after the other.
namespace ORVEN {

/// The extents of an image; 1 for axes beyond its dimension.
struct StPassExtents {
    std::int64_t nx;
    std::int64_t ny;
    std::int64_t nz;
    int dimension;
};

namespace Impl {

/// `makeWork` returns the function that processes one item, `work(item, pace)`, with its own scratch memory.
template <class MakeWork>
bool ForEachItem(std::int64_t count, IProgress& progress, const MakeWork& makeWork) {
    return ParallelFor(count, progress, [&makeWork](CWorkerTurn& turn) {
        return [pace = CWorkPace(turn), work = makeWork()](std::int64_t item) mutable {
            RunFor(BestVectors(), [&] { work(item, pace); });
        };
    });
}

} // namespace Impl

/// Processes the rows along x, then the lines along y, then those along z, as far as the image has these
/// axes.
///
/// `makeRows()` returns the function that processes a row, `rows(y, z)`. `makeLines(axis)` returns the
/// function that processes the lines along axis 1 or 2 from x to one before endX, `lines(other, x, endX,
/// pace)`, where `other` is the coordinate along the remaining axis. It reports its work to the pace and can
/// return once that is cancelled. A call covers at most `c_linesPerItem` lines unless axis is 1. Both
/// functions are created once per thread and stage.
///
/// Rows and lines along y are processed plane by plane, so that the lines find the rows in the cache. If
/// there are too few planes to distribute to the threads, all rows are processed first. One step of progress
/// is a plane, or a block of rows or lines; cancellation is detected within an item too. Returns false if
/// cancelled.
class CSeparablePasses {
public:
    static constexpr std::int64_t c_linesPerItem = 256;

    CSeparablePasses(const StPassExtents& extents, IProgress& progress)
        : m_extents(extents)
        , m_progress(progress)
        , m_rowBlocks((extents.ny + c_rowsPerItem - 1) / c_rowsPerItem)
        , m_lineBlocks((extents.nx + c_linesPerItem - 1) / c_linesPerItem) {}

    template <class MakeRows, class MakeLines>
    bool Run(const char* text, const MakeRows& makeRows, const MakeLines& makeLines) const {
        const auto [nx, ny, nz, dimension] = m_extents;
        const bool hasManyPlanes = nz >= c_manyPlanes;
        const bool hasLinesY = dimension > 1 && !hasManyPlanes;
        const bool hasLinesZ = dimension > 2;
        const std::int64_t steps = (hasManyPlanes ? nz : nz * m_rowBlocks) +
                                   (hasLinesY ? nz * m_lineBlocks : 0) + (hasLinesZ ? ny * m_lineBlocks : 0);
        m_progress.Start(static_cast<unsigned>(steps), text);
        const bool isDone = (hasManyPlanes ? RunPlanes(makeRows, makeLines) : RunRows(makeRows)) &&
                            (!hasLinesY || RunLines(1, nz, makeLines)) &&
                            (!hasLinesZ || RunLines(2, ny, makeLines));
        m_progress.Finish();
        return isDone;
    }

private:
    static constexpr std::int64_t c_rowsPerItem = 64;
    static constexpr std::int64_t c_manyPlanes = 16;
    static constexpr std::int64_t c_unitsPerRowPixel = 24;

    template <class MakeRows, class MakeLines>
    bool RunPlanes(const MakeRows& makeRows, const MakeLines& makeLines) const {
        return Impl::ForEachItem(m_extents.nz, m_progress, [&] {
            return [extents = m_extents, rows = makeRows(), lines = makeLines(1)](std::int64_t z,
                                                                                  CWorkPace& pace) mutable {
                for (std::int64_t y = 0; y < extents.ny; ++y) {
                    rows(y, z);
                    if (pace.Add(extents.nx * c_unitsPerRowPixel))
                        return;
                }
                lines(z, 0, extents.nx, pace);
            };
        });
    }

    template <class MakeRows>
    bool RunRows(const MakeRows& makeRows) const {
        return Impl::ForEachItem(m_extents.nz * m_rowBlocks, m_progress, [&] {
            return [this, rows = makeRows()](std::int64_t item, CWorkPace& pace) mutable {
                const std::int64_t first = item % m_rowBlocks * c_rowsPerItem;
                const std::int64_t end = std::min(first + c_rowsPerItem, m_extents.ny);
                for (std::int64_t y = first; y < end; ++y) {
                    rows(y, item / m_rowBlocks);
                    if (pace.Add(m_extents.nx * c_unitsPerRowPixel))
                        return;
                }
            };
        });
    }

    template <class MakeLines>
    bool RunLines(int axis, std::int64_t otherExtent, const MakeLines& makeLines) const {
        return Impl::ForEachItem(otherExtent * m_lineBlocks, m_progress, [&] {
            return [this, lines = makeLines(axis)](std::int64_t item, CWorkPace& pace) mutable {
                const std::int64_t x = item % m_lineBlocks * c_linesPerItem;
                lines(item / m_lineBlocks, x, std::min(x + c_linesPerItem, m_extents.nx), pace);
            };
        });
    }

    StPassExtents m_extents;
    IProgress& m_progress;
    std::int64_t m_rowBlocks;
    std::int64_t m_lineBlocks;
};

} // namespace ORVEN
