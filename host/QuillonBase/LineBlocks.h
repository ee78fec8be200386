#pragma once

#include "QuillonBase/CWorkPace.h"

#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <type_traits>

/// Lines of an image side by side in contiguous memory.
///
/// A recursion along a line cannot be vectorised along it, and a line along y or z touches a page of memory
/// per pixel. So lines are copied into a block, processed together, and copied back: pixel i of lane l of a
/// block is `Row(i)[l]`, and the innermost loop runs over the lanes. Neighbouring lines along y and z are
/// copied row by row; lines along x are transposed. Each lane must be computed independently, so that a
/// result does not depend on the grouping of lines into blocks.
///
/// Everything is inline, so that it is compiled for the vector instructions of the processor; see
/// `SeparablePasses.h`. Nothing but the memory of a block is allocated. Conversions are given as functions
/// of one pixel.
namespace ORVEN {

/// The memory of a block of `laneCount` lines of up to `length` pixels, uninitialised. Rows begin at a cache
/// line, so that wide vectors do not straddle two.
template <class Number, std::int64_t laneCount>
class CLineBlock {
public:
    static constexpr std::int64_t lanes = laneCount;

    /// `margin` rows before the first row and after the last one are for what is assumed beyond the border.
    explicit CLineBlock(std::int64_t length, std::int64_t margin = 0)
        : m_cellCount((length + 2 * margin) * laneCount)
        , m_memory(std::make_unique_for_overwrite<Number[]>(
              static_cast<std::size_t>(m_cellCount + c_cacheLine / std::int64_t{sizeof(Number)}))) {
        // Aligned here: memory from the aligned operator new is returned to the system at once, and touching
        // it again for every call would take longer than a filter of a small image.
        void* first = m_memory.get();
        std::size_t size = static_cast<std::size_t>(m_cellCount) * sizeof(Number) + c_cacheLine;
        m_cells = static_cast<Number*>(std::align(c_cacheLine, sizeof(Number), first, size));
        m_firstRow = m_cells + margin * laneCount;
    }

    /// The lanes of a row from -margin to length - 1 + margin. Rows are adjacent.
    [[nodiscard]] Number* Row(std::int64_t row) const { return m_firstRow + row * laneCount; }

    /// Fills all rows, margins included.
    void Fill(Number value) { std::fill_n(m_cells, m_cellCount, value); }

private:
    static constexpr std::int64_t c_cacheLine = 64;
    static_assert(laneCount * std::int64_t{sizeof(Number)} % c_cacheLine == 0);

    std::int64_t m_cellCount;
    std::unique_ptr<Number[]> m_memory;
    Number* m_cells;
    Number* m_firstRow;
};

/// Neighbouring lines of an image along y (axis 1) or z (axis 2), of which the first begins at x; `other` is
/// the coordinate along the remaining axis. The view must outlive it.
template <class T>
class CLines {
public:
    CLines(const CImageView<T>& view, int axis, std::int64_t other, std::int64_t x)
        : m_first((axis == 1 ? view.Row(0, other) : view.Row(other, 0)) + x)
        , m_stride(axis == 1 ? view.StrideY() : view.StrideZ())
        , m_length(axis == 1 ? view.ny : view.nz) {}

    /// The number of pixels of a line.
    [[nodiscard]] std::int64_t Length() const { return m_length; }
    /// Pixel i of all lines, adjacent in memory.
    [[nodiscard]] T* Row(std::int64_t i) const {
        return reinterpret_cast<T*>(reinterpret_cast<unsigned char*>(m_first) + i * m_stride);
    }

private:
    T* m_first;
    std::int64_t m_stride; ///< in bytes
    std::int64_t m_length;
};

/// Calls `body(first, count)` for blocks of up to `lanes` of the lines from `first` to one before `end`,
/// until cancelled. In a full block, `count` is a constant of the type, so that loops over the lanes have a
/// fixed length.
template <std::int64_t lanes, class Body>
void ForEachLineBlock(std::int64_t first, std::int64_t end, CWorkPace& pace, const Body& body) {
    for (; first + lanes <= end && !pace.IsCancelled(); first += lanes)
        body(first, std::integral_constant<std::int64_t, lanes>());
    if (first < end && !pace.IsCancelled())
        body(first, end - first);
}

/// Units of work for copying one pixel into or out of a block.
inline constexpr std::int64_t c_unitsPerMove = 4;

/// Copies `count` neighbouring lines into the block whose row 0 is at `values`, each pixel converted by
/// `convert(pixel)`. Other lanes are left as they are. Returns false if cancelled.
template <std::int64_t lanes, class T, class Number, class Count, class Convert>
bool GatherLines(const CLines<T>& lines, Count count, Number* values, CWorkPace& pace,
                 const Convert& convert) {
    return ForEachPiece(lines.Length(), c_unitsPerMove * lanes, pace,
                        [&](std::int64_t begin, std::int64_t end) {
                            const Convert convertPixel = convert; // its captures need no reloading
                            for (std::int64_t i = begin; i < end; ++i) {
                                const T* const row = lines.Row(i);
                                Number* const __restrict to = values + i * lanes;
                                for (std::int64_t lane = 0; lane < count; ++lane)
                                    to[lane] = convertPixel(row[lane]);
                            }
                        });
}

/// The reverse of `GatherLines`. `finish(row, count)` is called for each row of pixels that has been written.
template <std::int64_t lanes, class T, class Number, class Count, class Convert, class Finish>
bool ScatterLines(const Number* values, const CLines<T>& lines, Count count, CWorkPace& pace,
                  const Convert& convert, const Finish& finish) {
    return ForEachPiece(lines.Length(), c_unitsPerMove * lanes, pace,
                        [&](std::int64_t begin, std::int64_t end) {
                            const Convert convertPixel = convert;
                            for (std::int64_t i = begin; i < end; ++i) {
                                T* const __restrict row = lines.Row(i);
                                const Number* const from = values + i * lanes;
                                for (std::int64_t lane = 0; lane < count; ++lane)
                                    row[lane] = convertPixel(from[lane]);
                                finish(row, count);
                            }
                        });
}

/// The same without `finish`.
template <std::int64_t lanes, class T, class Number, class Count, class Convert>
bool ScatterLines(const Number* values, const CLines<T>& lines, Count count, CWorkPace& pace,
                  const Convert& convert) {
    return ScatterLines<lanes>(values, lines, count, pace, convert,
                               [](T* /*row*/, std::int64_t /*count*/) {});
}

namespace Impl {

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

/// Moves rows of `length` pixels into lanes or back: whole tiles by `moveTile(x, lane)`, and the rest by
/// `movePixels(lane, begin, end)`. Only the first `tiledLanes` lanes, a multiple of the edge of a tile, are
/// moved as tiles.
template <class MoveTile, class MovePixels>
bool MoveTransposed(std::int64_t length, std::int64_t lanes, std::int64_t tiledLanes, CWorkPace& pace,
                    const MoveTile& moveTile, const MovePixels& movePixels) {
    return ForEachPiece(length, c_unitsPerMove * lanes, pace, [&](std::int64_t begin, std::int64_t end) {
        const std::int64_t tiledEnd = end - (end - begin) % CTile::edge;
        for (std::int64_t lane = 0; lane < tiledLanes; lane += CTile::edge) {
            for (std::int64_t x = begin; x < tiledEnd; x += CTile::edge)
                moveTile(x, lane);
            for (std::int64_t i = 0; i < CTile::edge; ++i)
                movePixels(lane + i, tiledEnd, end);
        }
        for (std::int64_t lane = tiledLanes; lane < lanes; ++lane)
            movePixels(lane, begin, end);
    });
}

} // namespace Impl

/// Copies `count` rows of plane z, of which the first is y, into the block whose row 0 is at `values`: pixel
/// x of a row becomes row x of a lane. Returns false if cancelled.
template <std::int64_t lanes, class T>
bool GatherRows(const CImageView<const T>& view, std::int64_t y, std::int64_t z, std::int64_t count,
                double* values, CWorkPace& pace) {
    using Impl::CTile;
    // A tile holds floats, which cannot represent all 32-bit integers.
    const std::int64_t tiledLanes = std::is_same_v<T, unsigned int> ? 0 : count - count % CTile::edge;
    return Impl::MoveTransposed(
        view.nx, count, tiledLanes, pace,
        [&](std::int64_t x, std::int64_t lane) {
            CTile tile;
            for (int i = 0; i < CTile::edge; ++i)
                tile.LoadRow(i, view.Row(y + lane + i, z) + x);
            tile.Transpose();
            for (int i = 0; i < CTile::edge; ++i)
                tile.StoreRow(i, values + (x + i) * lanes + lane);
        },
        [&](std::int64_t lane, std::int64_t begin, std::int64_t end) {
            const T* const row = view.Row(y + lane, z);
            for (std::int64_t x = begin; x < end; ++x)
                values[x * lanes + lane] = static_cast<double>(row[x]);
        });
}

/// The reverse of `GatherRows`, rounding to float.
template <std::int64_t lanes>
bool ScatterRows(const double* values, const CImageView<float>& view, std::int64_t y, std::int64_t z,
                 std::int64_t count, CWorkPace& pace) {
    using Impl::CTile;
    return Impl::MoveTransposed(
        view.nx, count, count - count % CTile::edge, pace,
        [&](std::int64_t x, std::int64_t lane) {
            CTile tile;
            for (int i = 0; i < CTile::edge; ++i)
                tile.LoadRow(i, values + (x + i) * lanes + lane);
            tile.Transpose();
            for (int i = 0; i < CTile::edge; ++i)
                tile.StoreRow(i, view.Row(y + lane + i, z) + x);
        },
        [&](std::int64_t lane, std::int64_t begin, std::int64_t end) {
            float* const row = view.Row(y + lane, z);
            for (std::int64_t x = begin; x < end; ++x)
                row[x] = static_cast<float>(values[x * lanes + lane]);
        });
}

} // namespace ORVEN
