#pragma once

#include <QuillonBase/CWorkPace.h>
#include <QuillonBase/VectorDispatch.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <type_traits>

#ifdef __SSE2__
#include <xmmintrin.h>
#endif

// Separable filters over an image, one axis after the other, in double precision.
//
// A filter that runs along a line cannot be vectorised along it. So lines are processed side by side in
// blocks of c_lanes, and the innermost loop of a filter runs over the lanes. Lines along x are transposed
// into the block; lines along y and z are copied unchanged. Each lane is computed independently, so a result
// does not depend on how lines are grouped into blocks. Each plane is filtered along x and then along y while
// it is in the cache; the lines along z take a second pass over the image.

namespace ORVEN::Impl {

/// Number of lines in a full block. Wide enough to hide the latency of a recursion, and to let the pass along
/// z read runs of four cache lines. A block of 1024-pixel lines still fits into the second-level cache.
inline constexpr std::int64_t c_lanes = 64;

/// Rows before and after the lines of a block, in which filters store the values that they assume beyond the
/// border.
inline constexpr std::int64_t c_margin = 5;

/// Units of work for moving one pixel into or out of a block, and for filtering it there.
inline constexpr std::int64_t c_unitsPerMove = 4;
inline constexpr std::int64_t c_unitsPerFilter = 4;

/// Lines side by side: pixel i of line l is `values[i * c_lanes + l]`.
struct StLineBlock {
    std::int64_t length; ///< pixels per line
    double* values;      ///< row 0; c_margin uninitialised rows precede it, and as many follow the last row
    double* results;     ///< as `values`, uninitialised, for filters that do not work in place
};

/// The memory of a block. Parts that no filter writes to are never touched.
class CBlockMemory {
public:
    explicit CBlockMemory(std::int64_t length)
        : m_length(length)
        , m_memory(std::make_unique_for_overwrite<double[]>(static_cast<std::size_t>(2 * Cells() + c_lanes)))
        , m_size(static_cast<std::size_t>(2 * Cells() + c_lanes) * sizeof(double)) {}

    [[nodiscard]] StLineBlock Block(std::int64_t length) const {
        void* aligned = m_memory.get();
        std::size_t size = m_size;
        auto* const first = static_cast<double*>(std::align(64, sizeof(double), aligned, size));
        return {length, first + c_margin * c_lanes, first + Cells() + c_margin * c_lanes};
    }

private:
    [[nodiscard]] std::int64_t Cells() const { return (m_length + 2 * c_margin) * c_lanes; }

    std::int64_t m_length;
    std::unique_ptr<double[]> m_memory;
    std::size_t m_size;
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

/// A tile of four rows of four pixels, for transposition.
class CTile {
public:
    template <class T>
    void LoadRow(int row, const T* pixels) {
        using Pixels [[gnu::vector_size(4 * sizeof(T))]] = T;
        Pixels loaded;
        std::memcpy(&loaded, pixels, sizeof loaded);
        m_rows[row] = __builtin_convertvector(loaded, Floats);
    }
    void LoadRow(int row, const double* values) {
        Doubles loaded;
        std::memcpy(&loaded, values, sizeof loaded);
        m_rows[row] = __builtin_convertvector(loaded, Floats);
    }
    void StoreRow(int row, float* pixels) const { std::memcpy(pixels, &m_rows[row], sizeof m_rows[row]); }
    void StoreRow(int row, double* values) const {
        const Doubles stored = __builtin_convertvector(m_rows[row], Doubles);
        std::memcpy(values, &stored, sizeof stored);
    }

    void Transpose() {
        const Floats a = __builtin_shufflevector(m_rows[0], m_rows[1], 0, 4, 1, 5);
        const Floats b = __builtin_shufflevector(m_rows[0], m_rows[1], 2, 6, 3, 7);
        const Floats c = __builtin_shufflevector(m_rows[2], m_rows[3], 0, 4, 1, 5);
        const Floats d = __builtin_shufflevector(m_rows[2], m_rows[3], 2, 6, 3, 7);
        m_rows[0] = __builtin_shufflevector(a, c, 0, 1, 4, 5);
        m_rows[1] = __builtin_shufflevector(a, c, 2, 3, 6, 7);
        m_rows[2] = __builtin_shufflevector(b, d, 0, 1, 4, 5);
        m_rows[3] = __builtin_shufflevector(b, d, 2, 3, 6, 7);
    }

    static constexpr std::int64_t edge = 4;

private:
    using Floats [[gnu::vector_size(16)]] = float;
    using Doubles [[gnu::vector_size(32)]] = double;

    Floats m_rows[edge];
};

/// Copies rows y, y + 1, ... of plane z into a block, with x running along the lines of the block.
template <class T>
void GatherRows(const CImageView<const T>& view, std::int64_t y, std::int64_t z, std::int64_t lanes,
                double* values, CWorkPace& pace) {
    const auto copy = [&](std::int64_t lane, std::int64_t begin, std::int64_t end) {
        const T* const row = view.Row(y + lane, z);
        for (std::int64_t x = begin; x < end; ++x)
            values[x * c_lanes + lane] = static_cast<double>(row[x]);
    };
    // A tile holds floats, which cannot represent all 32-bit integers.
    const std::int64_t tiledLanes = std::is_same_v<T, unsigned int> ? 0 : lanes - lanes % CTile::edge;
    ForEachPiece(view.nx, c_unitsPerMove * lanes, pace, [&](std::int64_t begin, std::int64_t end) {
        const std::int64_t tiledEnd = end - (end - begin) % CTile::edge;
        for (std::int64_t lane = 0; lane < tiledLanes; lane += CTile::edge) {
            for (std::int64_t x = begin; x < tiledEnd; x += CTile::edge) {
                CTile tile;
                for (int i = 0; i < CTile::edge; ++i)
                    tile.LoadRow(i, view.Row(y + lane + i, z) + x);
                tile.Transpose();
                for (int i = 0; i < CTile::edge; ++i)
                    tile.StoreRow(i, values + (x + i) * c_lanes + lane);
            }
            for (int i = 0; i < CTile::edge; ++i)
                copy(lane + i, tiledEnd, end);
        }
        for (std::int64_t lane = tiledLanes; lane < lanes; ++lane)
            copy(lane, begin, end);
    });
}

/// The reverse of `GatherRows`, rounding to float.
inline void ScatterRows(const double* values, const CImageView<float>& view, std::int64_t y, std::int64_t z,
                        std::int64_t lanes, CWorkPace& pace) {
    const auto copy = [&](std::int64_t lane, std::int64_t begin, std::int64_t end) {
        float* const row = view.Row(y + lane, z);
        for (std::int64_t x = begin; x < end; ++x)
            row[x] = static_cast<float>(values[x * c_lanes + lane]);
    };
    const std::int64_t tiledLanes = lanes - lanes % CTile::edge;
    ForEachPiece(view.nx, c_unitsPerMove * lanes, pace, [&](std::int64_t begin, std::int64_t end) {
        const std::int64_t tiledEnd = end - (end - begin) % CTile::edge;
        for (std::int64_t lane = 0; lane < tiledLanes; lane += CTile::edge) {
            for (std::int64_t x = begin; x < tiledEnd; x += CTile::edge) {
                CTile tile;
                for (int i = 0; i < CTile::edge; ++i)
                    tile.LoadRow(i, values + (x + i) * c_lanes + lane);
                tile.Transpose();
                for (int i = 0; i < CTile::edge; ++i)
                    tile.StoreRow(i, view.Row(y + lane + i, z) + x);
            }
            for (int i = 0; i < CTile::edge; ++i)
                copy(lane + i, tiledEnd, end);
        }
        for (std::int64_t lane = tiledLanes; lane < lanes; ++lane)
            copy(lane, begin, end);
    });
}

/// Calls `body` with the number of lines in a block. Everything is inlined into both calls, so that loops
/// over the lanes have a fixed length in a full block, as nearly all blocks are.
template <class Body>
void WithLaneCount(std::int64_t lanes, const Body& body) {
    if (lanes == c_lanes)
        body(c_lanes);
    else
        body(lanes);
}

/// A single call of `FilterLines`.
template <class Source, class Filter>
class CLineWalk {
public:
    using Filters = std::array<const Filter*, 3>;

    CLineWalk(const CImageView<const Source>& source, const CImageView<float>& result, const Filters& filters,
              EnVectors vectors)
        : m_source(source)
        , m_result(result)
        , m_filters(filters)
        , m_vectors(vectors) {}

    /// The number of progress steps that `Run` takes.
    [[nodiscard]] std::int64_t StepCount() const {
        if (IsFlat())
            return BlockCount(m_result.ny) + (m_filters[1] != nullptr ? BlockCount(m_result.nx) : 0);
        return m_result.nz + (m_filters[2] != nullptr ? m_result.ny : 0);
    }

    bool Run(IProgress& progress) const {
        return IsFlat() ? FilterPlaneInBlocks(progress) : FilterVolume(progress);
    }

private:
    [[nodiscard]] bool IsFlat() const { return m_result.nz == 1; }
    static std::int64_t BlockCount(std::int64_t lines) { return (lines + c_lanes - 1) / c_lanes; }

    /// Cuts a single plane into blocks, which can be distributed to threads.
    bool FilterPlaneInBlocks(IProgress& progress) const {
        return ForEach(BlockCount(m_result.ny), progress,
                       [this](std::int64_t block, const CBlockMemory& memory, CWorkPace& pace) {
                           FilterRows(block * c_lanes, 0, memory, pace);
                       }) &&
               (m_filters[1] == nullptr ||
                ForEach(BlockCount(m_result.nx), progress,
                        [this](std::int64_t block, const CBlockMemory& memory, CWorkPace& pace) {
                            FilterColumns(block * c_lanes, 0, memory, pace);
                        }));
    }

    bool FilterVolume(IProgress& progress) const {
        const auto filterPlane = [this](std::int64_t z, const CBlockMemory& memory, CWorkPace& pace) {
            for (std::int64_t y = 0; y < m_result.ny && !pace.IsCancelled(); y += c_lanes)
                FilterRows(y, z, memory, pace);
            if (m_filters[1] == nullptr)
                return;
            for (std::int64_t x = 0; x < m_result.nx && !pace.IsCancelled(); x += c_lanes)
                FilterColumns(x, z, memory, pace);
        };
        const auto filterDepths = [this](std::int64_t y, const CBlockMemory& memory, CWorkPace& pace) {
            for (std::int64_t x = 0; x < m_result.nx && !pace.IsCancelled(); x += c_lanes)
                FilterDepths(x, y, memory, pace);
        };
        return ForEach(m_result.nz, progress, filterPlane) &&
               (m_filters[2] == nullptr || ForEach(m_result.ny, progress, filterDepths));
    }

    template <class Work>
    bool ForEach(std::int64_t count, IProgress& progress, const Work& work) const {
        return ParallelFor(count, progress, [&](CWorkerTurn& turn) {
            const std::int64_t longest = std::max({m_result.nx, m_result.ny, m_result.nz});
            return [&, memory = CBlockMemory(longest), pace = CWorkPace(turn)](std::int64_t item) mutable {
                const CFlushTinyNumbers flush;
                RunFor(m_vectors, [&] { work(item, memory, pace); });
            };
        });
    }

    /// Filters up to c_lanes lines along x, starting at row y of plane z, from the source to the result.
    void FilterRows(std::int64_t y, std::int64_t z, const CBlockMemory& memory, CWorkPace& pace) const {
        const std::int64_t rows = std::min(c_lanes, m_result.ny - y);
        if (m_filters[0] == nullptr)
            return CopyRows(y, z, rows, pace);
        const StLineBlock block = memory.Block(m_result.nx);
        GatherRows(m_source, y, z, rows, block.values, pace);
        WithLaneCount(rows, [&](std::int64_t lanes) {
            ScatterRows((*m_filters[0])(block, lanes, pace), m_result, y, z, lanes, pace);
        });
    }

    void CopyRows(std::int64_t y, std::int64_t z, std::int64_t rows, CWorkPace& pace) const {
        for (std::int64_t row = y; row < y + rows; ++row) {
            const Source* const from = m_source.Row(row, z);
            float* const to = m_result.Row(row, z);
            ForEachPiece(m_result.nx, c_unitsPerMove, pace, [&](std::int64_t begin, std::int64_t end) {
                for (std::int64_t x = begin; x < end; ++x)
                    to[x] = static_cast<float>(from[x]);
            });
        }
    }

    /// Filters up to c_lanes lines along y, starting at x in plane z.
    void FilterColumns(std::int64_t x, std::int64_t z, const CBlockMemory& memory, CWorkPace& pace) const {
        FilterInPlace(*m_filters[1], memory.Block(m_result.ny), m_result.nx - x, pace,
                      [&](std::int64_t y) { return m_result.Row(y, z) + x; });
    }

    /// Filters up to c_lanes lines along z, starting at x in row y.
    void FilterDepths(std::int64_t x, std::int64_t y, const CBlockMemory& memory, CWorkPace& pace) const {
        FilterInPlace(*m_filters[2], memory.Block(m_result.nz), m_result.nx - x, pace,
                      [&](std::int64_t z) { return m_result.Row(y, z) + x; });
    }

    /// Filters lines that are adjacent in memory: `rowAt(i)` points to pixel i of all lines.
    template <class RowAt>
    static void FilterInPlace(const Filter& filter, const StLineBlock& block, std::int64_t lines,
                              CWorkPace& pace, const RowAt& rowAt) {
        WithLaneCount(std::min(lines, c_lanes), [&](std::int64_t lanes) {
            ForEachPiece(block.length, c_unitsPerMove * c_lanes, pace,
                         [=, &rowAt](std::int64_t begin, std::int64_t end) {
                             for (std::int64_t i = begin; i < end; ++i) {
                                 const float* const row = rowAt(i);
                                 for (std::int64_t lane = 0; lane < lanes; ++lane)
                                     block.values[i * c_lanes + lane] = static_cast<double>(row[lane]);
                             }
                         });
            const double* const results = filter(block, lanes, pace);
            ForEachPiece(block.length, c_unitsPerMove * c_lanes, pace,
                         [=, &rowAt](std::int64_t begin, std::int64_t end) {
                             for (std::int64_t i = begin; i < end; ++i) {
                                 float* const row = rowAt(i);
                                 for (std::int64_t lane = 0; lane < lanes; ++lane)
                                     row[lane] = static_cast<float>(results[i * c_lanes + lane]);
                             }
                         });
        });
    }

    const CImageView<const Source>& m_source;
    const CImageView<float>& m_result;
    const Filters m_filters;
    const EnVectors m_vectors;
};

/// Filters the source along x, then y, then z into the result, rounding to float after each axis. An axis
/// whose filter is null is skipped. Source and result must have the same size, must not be empty, and can be
/// the same image.
///
/// `filter(block, lanes, pace)` filters `lanes` lines, at most c_lanes, and returns the location of the
/// results: `block.values` or `block.results`. It is called on several threads at once, and reports its work
/// to the pace.
///
/// A step of progress is a plane, a row of planes or, in 2-d, a block. Returns false if cancelled;
/// cancellation is detected within a step too. Memory per thread: 8 c_lanes bytes per pixel of the longest
/// line, twice that for filters that do not work in place.
template <class Source, class Filter>
bool FilterLines(const CImageView<const Source>& source, const CImageView<float>& result,
                 const std::array<const Filter*, 3>& filters, IProgress& progress, const char* phase,
                 EnVectors vectors = BestVectors()) {
    const CLineWalk<Source, Filter> walk(source, result, filters, vectors);
    progress.Start(static_cast<unsigned>(walk.StepCount()), phase);
    const bool isDone = walk.Run(progress);
    progress.Finish();
    return isDone;
}

} // namespace ORVEN::Impl
