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

/// What a flood knows of each pixel beside its label, in two bits: whether it has a final label, and whether
/// it waits for one. All neighbours of a pixel are read at once, a row of three by one load.
///
/// The labels say the same in 32 bits a pixel, but sixteen times the memory does not fit a cache, and a flood
/// jumps about the image. A frame of one pixel around the image, neither final nor open, spares all tests for
/// the border.
///
/// N is one of the neighbourhoods of Neighborhoods.h. A quarter byte a pixel.
template <class N>
class CFloodStates {
    /// The rows of three pixels that the neighbourhood has pixels of, in the order of its table.
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
    /// Slots are places in the set that `Around` answers: three a row, the rows in the order of the table, so
    /// that ascending slots are neighbours in the order of the table.
    static constexpr std::size_t slotCount = 3 * rowCount;

    /// The offset of the pixel in a slot.
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

    /// A set of neighbours, with two bits a slot.
    using Neighbors = std::uint64_t;
    static constexpr Neighbors openBits = 0x5555555555555555U;
    static constexpr Neighbors finalBits = 0xAAAAAAAAAAAAAAAAU;

    /// The states of the three slots of a row, a number below `rowStateCount`.
    static std::size_t Row(Neighbors neighbors, std::size_t row) {
        return neighbors >> (6 * row) & (rowStateCount - 1);
    }
    static constexpr std::size_t rowStateCount = 64;

    /// The slot of the first neighbour in a set that is not empty.
    static std::size_t FirstSlot(Neighbors neighbors) {
        return static_cast<std::size_t>(std::countr_zero(neighbors)) / 2;
    }

    /// All pixels of an image of that size, neither final nor open.
    void Clear(const CSize& size) {
        m_rowBytes = (size.x + 2 + 3) / 4;
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
    void SetOpenIf(bool condition, StPixelPosition pixel) {
        char8_t& byte = m_states[Byte(pixel)];
        byte = static_cast<char8_t>(byte | (condition ? 1U : 0U) << Shift(pixel));
    }
    /// Neither final nor open.
    void SetNone(StPixelPosition pixel) { Set(pixel, 0); }

    [[nodiscard]] bool IsOpen(StPixelPosition pixel) const {
        return (m_states[Byte(pixel)] >> Shift(pixel) & 1U) != 0;
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
#pragma GCC unroll 9
        for (std::size_t i = 0; i < rowCount; ++i)
            neighbors |= Neighbors{Load(row + m_rowSteps[i]) >> LeftShift(pixel) & rows[i].mask} << (6 * i);
        return neighbors;
    }

private:
    // In memory pixel (x, y, z) stands at x + 1, and in plane z + 1 if there are planes.
    [[nodiscard]] std::size_t Byte(StPixelPosition pixel) const {
        return static_cast<std::size_t>((pixel.x + 1) / 4 + (pixel.y + 1) * m_rowBytes +
                                        (pixel.z + 1) * m_planeBytes);
    }
    static unsigned Shift(StPixelPosition pixel) { return 2 * ((pixel.x + 1U) % 4); }

    /// Where the left neighbour stands, which is where a load of a row begins.
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

    std::int64_t m_rowBytes = 0;
    std::int64_t m_planeBytes = 0;
    std::array<std::int64_t, rowCount> m_rowSteps{};
    // char8_t, which aliases nothing: a store leaves the other members in their registers.
    std::vector<char8_t> m_states;
};

} // namespace ORVEN
