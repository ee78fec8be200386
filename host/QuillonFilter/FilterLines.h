#pragma once

#include <QuillonBase/LineBlocks.h>
#include <QuillonBase/SeparablePasses.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <type_traits>

#ifdef __SSE2__
#include <xmmintrin.h>
#endif

// Separable filters over an image, one axis after the other, in double precision, on blocks of lines.

namespace ORVEN::Impl {

/// Number of lines in a full block. Wide enough to hide the latency of a recursion, and to let the pass along
/// z read runs of four cache lines. A block of 1024-pixel lines still fits into the second-level cache.
inline constexpr std::int64_t c_lanes = 64;
static_assert(c_lanes == CSeparablePasses::c_rowsPerCall);

/// Rows before and after the lines of a block, in which filters store the values that they assume beyond the
/// border.
inline constexpr std::int64_t c_margin = 5;

/// Units of work for filtering one pixel in a block.
inline constexpr std::int64_t c_unitsPerFilter = 4;

/// Lines side by side: pixel i of line l is `values[i * c_lanes + l]`.
struct StLineBlock {
    std::int64_t length; ///< pixels per line
    double* values;      ///< row 0; c_margin uninitialised rows precede it, and as many follow the last row
    double* results;     ///< as `values`, uninitialised, for filters that do not work in place
};

/// The memory of a block of lines of up to `length` pixels. Parts that no filter writes to are never touched.
class CFilterMemory {
public:
    explicit CFilterMemory(std::int64_t length)
        : m_rowCount(length + 2 * c_margin)
        , m_rows(2 * m_rowCount) {}

    [[nodiscard]] StLineBlock Block(std::int64_t length) const {
        return {length, m_rows.Row(c_margin), m_rows.Row(m_rowCount + c_margin)};
    }

private:
    std::int64_t m_rowCount;
    CLineBlock<double, c_lanes> m_rows; ///< the values, then the results, in one piece of memory
};

/// During its lifetime, subnormal floating-point numbers are treated as 0 on this thread. Values that decay
/// into a background of zeros become subnormal, and arithmetic on them would be a hundred times slower.
class CFlushTinyNumbers {
public:
    CFlushTinyNumbers(const CFlushTinyNumbers&) = delete;
    CFlushTinyNumbers& operator=(const CFlushTinyNumbers&) = delete;
#ifdef __SSE2__
    CFlushTinyNumbers()
        : m_before(_mm_getcsr()) {
        constexpr unsigned flushResults = 0x8000;
        constexpr unsigned flushOperands = 0x0040;
        _mm_setcsr(m_before | flushResults | flushOperands);
    }
    ~CFlushTinyNumbers() { _mm_setcsr(m_before); }

private:
    unsigned m_before;
#else
    CFlushTinyNumbers() = default;
    ~CFlushTinyNumbers() = default;
#endif
};

/// Filters lines on one thread, in blocks: rows from the source to the result, other lines in place.
template <class Source, class Filter>
class CLineFilter {
public:
    using Filters = std::array<const Filter*, 3>;

    CLineFilter(const CImageView<const Source>& source, const CImageView<float>& result,
                const Filters& filters, int firstAxis, int lastAxis)
        : m_source(source)
        , m_result(result)
        , m_filters(filters)
        , m_memory(std::max(LengthAlong(firstAxis), LengthAlong(lastAxis))) {}

    template <int axis>
    void operator()(std::integral_constant<int, axis>, std::int64_t other, std::int64_t first,
                    std::int64_t end, CWorkPace& pace) const {
        const CFlushTinyNumbers flush;
        if constexpr (axis > 0) {
            ForEachLineBlock<c_lanes>(first, end, pace, [&](std::int64_t x, auto count) {
                FilterInPlace(axis, other, x, count, pace);
            });
        } else if (m_filters[0] != nullptr) {
            FilterRows(first, other, end - first, pace);
        } else {
            CopyRows(first, other, end - first, pace);
        }
    }

private:
    [[nodiscard]] std::int64_t LengthAlong(int axis) const {
        return std::array{m_result.nx, m_result.ny, m_result.nz}[static_cast<std::size_t>(axis)];
    }

    template <class Count>
    void FilterInPlace(int axis, std::int64_t other, std::int64_t x, Count count, CWorkPace& pace) const {
        const CLines<float> lines(m_result, axis, other, x);
        const StLineBlock block = m_memory.Block(lines.Length());
        GatherLines<c_lanes>(lines, count, block.values, pace,
                             [](float pixel) { return static_cast<double>(pixel); });
        const Filter& filter = *m_filters[static_cast<std::size_t>(axis)];
        ScatterLines<c_lanes>(filter(block, count, pace), lines, count, pace,
                              [](double value) { return static_cast<float>(value); });
    }

    /// Only the filter is compiled for a constant number of lanes: the other two gain nothing by it, and all
    /// of this is compiled once for each instruction set.
    void FilterRows(std::int64_t y, std::int64_t z, std::int64_t count, CWorkPace& pace) const {
        const StLineBlock block = m_memory.Block(m_result.nx);
        GatherRows<c_lanes>(m_source, y, z, count, block.values, pace);
        const double* results = block.values;
        ForEachLineBlock<c_lanes>(0, count, pace, [&](std::int64_t /*first*/, auto lanes) {
            results = (*m_filters[0])(block, lanes, pace);
        });
        ScatterRows<c_lanes>(results, m_result, y, z, count, pace);
    }

    void CopyRows(std::int64_t firstY, std::int64_t z, std::int64_t count, CWorkPace& pace) const {
        for (std::int64_t y = firstY; y < firstY + count; ++y) {
            const Source* const from = m_source.Row(y, z);
            float* const to = m_result.Row(y, z);
            ForEachPiece(m_result.nx, c_unitsPerMove, pace, [&](std::int64_t begin, std::int64_t end) {
                for (std::int64_t x = begin; x < end; ++x)
                    to[x] = static_cast<float>(from[x]);
            });
        }
    }

    const CImageView<const Source>& m_source;
    const CImageView<float>& m_result;
    const Filters& m_filters;
    CFilterMemory m_memory;
};

/// Filters the source along x, then y, then z into the result, rounding to float after each axis. An axis
/// whose filter is null is skipped. Source and result must have the same size, must not be empty, and can be
/// the same image.
///
/// `filter(block, lanes, pace)` filters `lanes` lines, at most c_lanes, and returns the location of the
/// results: `block.values` or `block.results`. It is called on several threads at once, and reports its work
/// to the pace.
///
/// Progress and cancellation are those of `CSeparablePasses`. Returns false if cancelled. Memory per thread:
/// 8 c_lanes bytes per pixel of the longest line, twice that for filters that do not work in place.
template <class Source, class Filter>
bool FilterLines(const CImageView<const Source>& source, const CImageView<float>& result,
                 const std::array<const Filter*, 3>& filters, IProgress& progress, const char* phase,
                 EnVectors vectors = BestVectors()) {
    const CSeparablePasses passes(
        {result.nx, result.ny, result.nz, filters[1] != nullptr, filters[2] != nullptr}, c_lanes, progress,
        vectors);
    return passes.Run(phase, [&](int firstAxis, int lastAxis) {
        return CLineFilter<Source, Filter>(source, result, filters, firstAxis, lastAxis);
    });
}

} // namespace ORVEN::Impl
