#pragma once

#include "segmentation/floods/WatershedLabels.h"

#include <sorblib2image/CSize.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace ORVEN {

/// The state of each pixel in a flood, in two bits: whether it has a final label, and whether it waits for
/// one. The states of all neighbours of a pixel are read at once, with one load per row of three.
///
/// The label image holds the same information in 32 bits per pixel. But that is sixteen times the memory and
/// does not fit into a cache, and a flood accesses pixels in irregular order. A frame of one pixel around the
/// image, neither final nor open, makes all border tests unnecessary.
///
/// N is one of the neighbourhoods of Neighborhoods.h. Memory: a quarter byte per pixel.
template <class N>
class CFloodStates {
    /// The rows of three pixels in which the neighbourhood has pixels, in the order of its table.
    struct StRow {
        int dy;
        int dz;
        std::uint32_t mask; ///< both bits of each neighbour in the row
    };

    static constexpr std::size_t rowCount = [] {
        std::size_t count = 0;
        for (std::size_t i = 0; i < N::count; ++i)
            count += i == 0 || N::dy[i] != N::dy[i - 1] || N::dz[i] != N::dz[i - 1] ? 1 : 0;
        return count;
    }();

    static constexpr std::array<StRow, rowCount> rows = [] {
        std::array<StRow, rowCount> found{};
        std::size_t row = 0;
        for (std::size_t i = 0; i < N::count; ++i) {
            if (i > 0 && (N::dy[i] != N::dy[i - 1] || N::dz[i] != N::dz[i - 1]))
                ++row;
            found[row].dy = static_cast<int>(N::dy[i]);
            found[row].dz = static_cast<int>(N::dz[i]);
            found[row].mask |= 3U << (2 * (N::dx[i] + 1));
        }
        return found;
    }();

public:
    /// Slots are the positions in the set that `Around` returns: three per row, with the rows in the order of
    /// the table, so that ascending slots are neighbours in the order of the table.
    static constexpr std::size_t slotCount = 3 * rowCount;

    /// The offset from the centre to the pixel of a slot.
    struct StOffset {
        int dx;
        int dy;
        int dz;
    };
    static constexpr std::array<StOffset, slotCount> offsets = [] {
        std::array<StOffset, slotCount> result{};
        for (std::size_t slot = 0; slot < slotCount; ++slot)
            result[slot] = {static_cast<int>(slot % 3) - 1, rows[slot / 3].dy, rows[slot / 3].dz};
        return result;
    }();

    /// A set of neighbours, with two bits per slot.
    using Neighbors = std::uint64_t;
    static constexpr Neighbors openBits = 0x5555555555555555U;
    static constexpr Neighbors finalBits = 0xAAAAAAAAAAAAAAAAU;

    /// The states of the three slots of a row, as a number below `rowStateCount`.
    static std::size_t Row(Neighbors neighbors, std::size_t row) {
        return neighbors >> (6 * row) & (rowStateCount - 1);
    }
    static constexpr std::size_t rowStateCount = 64;

    /// The slot of the first neighbour in a non-empty set.
    static std::size_t FirstSlot(Neighbors neighbors) {
        return static_cast<std::size_t>(std::countr_zero(neighbors)) / 2;
    }

    /// Resets the states for an image of the given size: no pixel is final or open.
    void Clear(const CSize& size) {
        m_rowBytes = (size.x + 2 + 3) / 4;
        m_size = size;
        m_planeBytes = N::dimension == 3 ? m_rowBytes * (size.y + 2) : 0;
        const std::int64_t planes = N::dimension == 3 ? size.z + 2 : 1;
        const std::int64_t bytes = planes * m_rowBytes * (size.y + 2);
        m_states.assign(static_cast<std::size_t>(bytes) + sizeof(std::uint32_t), 0);
        for (std::size_t row = 0; row < rowCount; ++row)
            m_rowSteps[row] = rows[row].dy * m_rowBytes + rows[row].dz * m_planeBytes;
    }

    void SetFinal(StPixelPosition pixel) { Set(pixel, 2); }
    void SetOpen(StPixelPosition pixel) { Set(pixel, 1); }
    /// Opens a pixel that is neither final nor open, without branching on the condition.
    void SetOpenIf(bool isWanted, StPixelPosition pixel) {
        char8_t& byte = m_states[Byte(pixel)];
        byte = static_cast<char8_t>(byte | (isWanted ? 1U : 0U) << Shift(pixel));
    }
    /// Makes a pixel neither final nor open.
    void SetNone(StPixelPosition pixel) { Set(pixel, 0); }

    [[nodiscard]] bool IsOpen(StPixelPosition pixel) const {
        return (m_states[Byte(pixel)] >> Shift(pixel) & 1U) != 0;
    }

    /// Calls `body(pixel)` for all open pixels, in raster order.
    template <class Body>
    void ForEachOpen(const Body& body) const {
        const std::int64_t planeCount = N::dimension == 3 ? m_size.z : 1;
        for (std::int64_t z = 0; z < planeCount; ++z) {
            for (std::int64_t y = 0; y < m_size.y; ++y)
                ForEachOpenOfRow(y, z, body);
        }
    }

    [[nodiscard]] bool HasFinalNeighbor(StPixelPosition pixel) const {
        const char8_t* const row = LeftOf(pixel);
        std::uint32_t any = 0;
        for (std::size_t i = 0; i < rowCount; ++i)
            any |= Load(row + m_rowSteps[i]) >> LeftShift(pixel) & rows[i].mask;
        return (any & static_cast<std::uint32_t>(finalBits)) != 0;
    }

    /// The states of all neighbours.
    [[nodiscard]] Neighbors Around(StPixelPosition pixel) const {
        const char8_t* const row = LeftOf(pixel);
        Neighbors neighbors = 0;
#pragma GCC unroll 9 // one load a row of neighbours, without the loop around it
        for (std::size_t i = 0; i < rowCount; ++i)
            neighbors |= Neighbors{Load(row + m_rowSteps[i]) >> LeftShift(pixel) & rows[i].mask} << (6 * i);
        return neighbors;
    }

private:
    template <class Body>
    void ForEachOpenOfRow(std::int64_t y, std::int64_t z, const Body& body) const {
        const char8_t* const row = m_states.data() + (y + 1) * m_rowBytes + (z + 1) * m_planeBytes;
        for (std::int64_t i = 0; i < m_rowBytes; ++i) {
            for (Neighbors open = row[i] & openBits; open != 0; open &= open - 1) {
                const std::int64_t x = 4 * i + static_cast<std::int64_t>(FirstSlot(open)) - 1;
                body(StPixelPosition{static_cast<std::uint16_t>(x), static_cast<std::uint16_t>(y),
                                     static_cast<std::uint16_t>(z)});
            }
        }
    }

    // In memory, pixel (x, y, z) is at x + 1, y + 1, and in three dimensions in plane z + 1.
    [[nodiscard]] std::size_t Byte(StPixelPosition pixel) const {
        return static_cast<std::size_t>((pixel.x + 1) / 4 + (pixel.y + 1) * m_rowBytes +
                                        (pixel.z + 1) * m_planeBytes);
    }
    static unsigned Shift(StPixelPosition pixel) { return 2 * ((pixel.x + 1U) % 4); }

    /// The address of the left neighbour, where the load of a row begins.
    [[nodiscard]] const char8_t* LeftOf(StPixelPosition pixel) const {
        return m_states.data() + pixel.x / 4 + (pixel.y + 1) * m_rowBytes + (pixel.z + 1) * m_planeBytes;
    }
    static unsigned LeftShift(StPixelPosition pixel) { return 2 * (pixel.x % 4U); }

    static std::uint32_t Load(const char8_t* bytes) {
        std::uint32_t word = 0;
        std::memcpy(&word, bytes, sizeof word);
        if constexpr (std::endian::native == std::endian::big)
            word = __builtin_bswap32(word);
        return word;
    }

    void Set(StPixelPosition pixel, unsigned state) {
        char8_t& byte = m_states[Byte(pixel)];
        byte = static_cast<char8_t>((byte & ~(3U << Shift(pixel))) | state << Shift(pixel));
    }

    CSize m_size;
    std::int64_t m_rowBytes = 0;
    std::int64_t m_planeBytes = 0;
    std::array<std::int64_t, rowCount> m_rowSteps{};
    // char8_t does not alias other types, so the other members stay in registers across a store.
    std::vector<char8_t> m_states;
};

} // namespace ORVEN
