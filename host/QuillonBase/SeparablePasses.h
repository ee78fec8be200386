#pragma once

#include "QuillonBase/CWorkPace.h"
#include "QuillonBase/VectorDispatch.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <type_traits>

/// The order of work of an algorithm that processes a whole image one axis after the other, and the division
/// of this work among threads.
namespace ORVEN {

/// Like `ParallelForAtPace`, with the items compiled for the given vector instructions.
template <class MakeWork>
bool ParallelForOnVectors(Impl::EnVectors vectors, std::int64_t count, IProgress& progress,
                          const MakeWork& makeWork) {
    return ParallelForAtPace(count, progress, [&makeWork, vectors] {
        return [vectors, work = makeWork()](std::int64_t item, CWorkPace& pace) mutable {
            Impl::RunFor(vectors, [&] { work(item, pace); });
        };
    });
}

/// The extents of an image, which must not be empty, and the axes to process after x.
struct StPassAxes {
    std::int64_t nx;
    std::int64_t ny; ///< 1 beyond the dimension, as `nz`
    std::int64_t nz;
    bool hasY;
    bool hasZ;
};

namespace Impl {

/// The passes along one axis: `lineCount` lines in each of `sliceCount` slices of the image. A slice of lines
/// along x or y is a plane; a slice of lines along z consists of those of one row. If there are enough slices
/// for all threads, an item of parallel work is a slice, which is then processed in blocks of lines. If not,
/// as in a flat image, it is a block of a slice.
template <int axis>
class CPassItems {
public:
    CPassItems(std::int64_t sliceCount, std::int64_t lineCount, std::int64_t linesPerBlock)
        : m_sliceCount(sliceCount)
        , m_lineCount(lineCount)
        , m_linesPerBlock(linesPerBlock)
        , m_blockCount((lineCount + linesPerBlock - 1) / linesPerBlock)
        , m_areSlices(sliceCount >= c_slicesPerThread * ThreadCount()) {}

    [[nodiscard]] bool AreSlices() const { return m_areSlices; }
    [[nodiscard]] std::int64_t Count() const {
        return m_areSlices ? m_sliceCount : m_sliceCount * m_blockCount;
    }

    // `lines` is called in one place only, because all of it is inlined there.
    template <class Lines>
    void Process(std::int64_t item, Lines& lines, CWorkPace& pace) const {
        const std::int64_t slice = m_areSlices ? item : item / m_blockCount;
        const std::int64_t firstBlock = m_areSlices ? 0 : item % m_blockCount;
        const std::int64_t endBlock = m_areSlices ? m_blockCount : firstBlock + 1;
        for (std::int64_t block = firstBlock; block < endBlock && !pace.IsCancelled(); ++block) {
            const std::int64_t first = block * m_linesPerBlock;
            lines(std::integral_constant<int, axis>(), slice, first,
                  std::min(first + m_linesPerBlock, m_lineCount), pace);
        }
    }

private:
    /// With fewer slices, threads would wait too long for the last one to finish.
    static constexpr std::int64_t c_slicesPerThread = 2;

    std::int64_t m_sliceCount;
    std::int64_t m_lineCount;
    std::int64_t m_linesPerBlock;
    std::int64_t m_blockCount;
    bool m_areSlices;
};

} // namespace Impl

/// Processes the lines along x, which are the rows, then those along y, then those along z, as far as the
/// axes are wanted. All lines that cross a line of the next axis are finished before that one begins.
///
/// If there are enough planes for all threads, rows and lines along y are processed plane by plane, so that
/// the lines find the rows in the cache. Otherwise blocks of all rows are processed first. One step of
/// progress is a plane, the lines along z of one row, or a block; cancellation is detected within a step too.
/// Results must not depend on the grouping of lines.
class CSeparablePasses {
public:
    static constexpr std::int64_t c_rowsPerCall = 64;

    CSeparablePasses(const StPassAxes& axes, std::int64_t linesPerCall, IProgress& progress,
                     Impl::EnVectors vectors = Impl::BestVectors())
        : m_axes(axes)
        , m_rows(axes.nz, axes.ny, c_rowsPerCall)
        , m_linesY(axes.nz, axes.nx, linesPerCall)
        , m_linesZ(axes.ny, axes.nx, linesPerCall)
        , m_progress(progress)
        , m_vectors(vectors) {}

    /// `makeLines(firstAxis, lastAxis)` returns the function that processes lines along these axes. It is
    /// called once per thread and traversal of the image, so that scratch memory can live in the function.
    ///
    /// `lines(axis, other, first, end, pace)` processes the lines along the axis from the coordinate `first`
    /// to one before `end`, which counts rows y for axis 0 and columns x for the others; `other` is the
    /// coordinate along the remaining axis. The axis is a constant, `std::integral_constant<int, axis>`. A
    /// call covers at most `c_rowsPerCall` rows, or `linesPerCall` lines along y or z, and begins at a
    /// multiple of that number. The function reports its work to the pace and can return once it is
    /// cancelled.
    ///
    /// Starts and finishes a phase of progress. Returns false if cancelled.
    template <class MakeLines>
    bool Run(const char* phase, const MakeLines& makeLines) const {
        m_progress.Start(static_cast<unsigned>(StepCount()), phase);
        const bool isDone =
            (m_axes.hasY && m_linesY.AreSlices()
                 ? ProcessPlanes(makeLines)
                 : Process(m_rows, makeLines) && (!m_axes.hasY || Process(m_linesY, makeLines))) &&
            (!m_axes.hasZ || Process(m_linesZ, makeLines));
        m_progress.Finish();
        return isDone;
    }

private:
    [[nodiscard]] std::int64_t StepCount() const {
        const bool hasSeparateLinesY = m_axes.hasY && !m_linesY.AreSlices();
        return m_rows.Count() + (hasSeparateLinesY ? m_linesY.Count() : 0) +
               (m_axes.hasZ ? m_linesZ.Count() : 0);
    }

    template <class MakeLines>
    bool ProcessPlanes(const MakeLines& makeLines) const {
        return ParallelForOnVectors(m_vectors, m_axes.nz, m_progress, [&] {
            return [this, lines = makeLines(0, 1)](std::int64_t z, CWorkPace& pace) mutable {
                m_rows.Process(z, lines, pace);
                m_linesY.Process(z, lines, pace);
            };
        });
    }

    template <int axis, class MakeLines>
    bool Process(const Impl::CPassItems<axis>& items, const MakeLines& makeLines) const {
        return ParallelForOnVectors(m_vectors, items.Count(), m_progress, [&] {
            return [&items, lines = makeLines(axis, axis)](std::int64_t item, CWorkPace& pace) mutable {
                items.Process(item, lines, pace);
            };
        });
    }

    StPassAxes m_axes;
    Impl::CPassItems<0> m_rows;
    Impl::CPassItems<1> m_linesY;
    Impl::CPassItems<2> m_linesZ;
    IProgress& m_progress;
    Impl::EnVectors m_vectors;
};

/// For `CSeparablePasses`, the lines of an algorithm that processes rows in another way than other lines:
/// `rows(y, z)` processes a single row, which is `unitsPerRow` of work, and `lines(other,
/// firstX, endX, pace)` lines along the axis that it was made for.
template <class Rows, class Lines>
class CRowsAndLines {
public:
    /// `makeRows()` and `makeLines(axis)` are called for those of the axes that are to be processed.
    template <class MakeRows, class MakeLines>
    CRowsAndLines(int firstAxis, int lastAxis, std::int64_t unitsPerRow, const MakeRows& makeRows,
                  const MakeLines& makeLines)
        : m_unitsPerRow(unitsPerRow) {
        if (firstAxis == 0)
            m_rows.emplace(makeRows());
        if (lastAxis > 0)
            m_lines.emplace(makeLines(lastAxis));
    }

    template <int axis>
    void operator()(std::integral_constant<int, axis>, std::int64_t other, std::int64_t first,
                    std::int64_t end, CWorkPace& pace) {
        if constexpr (axis == 0) {
            for (std::int64_t y = first; y < end; ++y) {
                (*m_rows)(y, other);
                if (pace.Add(m_unitsPerRow))
                    return;
            }
        } else {
            (*m_lines)(other, first, end, pace);
        }
    }

private:
    std::int64_t m_unitsPerRow;
    std::optional<Rows> m_rows;
    std::optional<Lines> m_lines;
};

} // namespace ORVEN
