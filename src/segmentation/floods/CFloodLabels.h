#pragma once

#include "segmentation/floods/WatershedLabels.h"

#include <QuillonBase/CWorkPace.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>

namespace ORVEN {

/// The labels during a flood, stored such that a pixel and its neighbours take few instructions.
///
/// A frame around the image, which is never reached, makes all border tests unnecessary: a neighbour is a
/// fixed distance away from any pixel. Labels are stored as their complements, so that memory that has never
/// been written is `LabelInit`, and that final labels are those above the sentinels. A byte per pixel repeats
/// whether the label is final: to find out takes a quarter of the memory then, which matters because the
/// pixels of a level are all over the image.
///
/// N is one of the neighbourhoods of Neighborhoods.h. Memory: 5 bytes per pixel and frame; pages that only
/// the frame occupies are never written.
template <class N>
class CFloodLabels {
    /// The rows of three pixels in which the neighbourhood has pixels, in the order of its table.
    struct StRow {
        int dy = 0;
        int dz = 0;
        std::array<bool, 3> isNeighbor{};
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
            found[row].isNeighbor[static_cast<std::size_t>(N::dx[i] + 1)] = true;
        }
        return found;
    }();

    /// Large neighbourhoods are read in rows, small ones pixel by pixel.
    static constexpr bool readsRows = N::count > 6;

public:
    /// Where a pixel is in the memory of the labels, as a number.
    using Place = std::int64_t;

    /// Resets the labels to `LabelInit`, for an image of the given size.
    void Clear(const CSize& size) {
        const std::int64_t rowLength = size.x + 1; // the end of a row is also the beginning of the next one
        m_stepY = rowLength;
        m_stepZ = N::dimension == 3 ? rowLength * (size.y + 1) : 0;
        m_origin = 1 + m_stepY + m_stepZ;
        // Reading a row touches a pixel beyond the frame.
        const CSize framed =
            N::dimension == 3 ? CSize(rowLength, size.y + 1, size.z + 3) : CSize(rowLength, size.y + 3);
        m_codes.emplace(IMAGE_GREY_32, framed);
        m_finals.emplace(IMAGE_GREY_8, framed);
        for (std::size_t i = 0; i < N::count; ++i)
            m_steps[i] = N::dx[i] + N::dy[i] * m_stepY + N::dz[i] * m_stepZ;
        for (std::size_t i = 0; i < rowCount; ++i)
            m_rowSteps[i] = rows[i].dy * m_stepY + rows[i].dz * m_stepZ;
        m_end = m_origin + m_stepY * size.y + m_stepZ * (N::dimension == 3 ? size.z - 1 : 0);
    }

    /// Touches the memory of all pixels, so that the system provides it now. The first levels of a flood
    /// would touch most of it at once, and not check for cancellation meanwhile. Returns false if cancelled.
    bool MakeRoom(CWorkPace& pace) { return Touch(m_codes->pixels, pace) && Touch(m_finals->pixels, pace); }

    [[nodiscard]] Place At(StPixelPosition pixel) const {
        return m_origin + pixel.x + pixel.y * m_stepY + pixel.z * m_stepZ;
    }

    /// The place of a neighbour, given its index in the table.
    [[nodiscard]] Place Neighbor(Place place, std::size_t index) const { return place + m_steps[index]; }

    [[nodiscard]] std::uint32_t Label(Place place) const { return ~Code(place); }
    [[nodiscard]] bool IsOpen(Place place) const { return Code(place) == c_open; }

    /// Sets any label, final or not.
    void SetLabel(Place place, std::uint32_t label) {
        Code(place) = ~label;
        IsFinal(place) = IsFinalLabel(label) ? 1 : 0;
    }

    /// A pixel is open if its label is `LabelMask`, and in the queue if it is `LabelInQueue`. For pixels
    /// whose label is not final.
    void SetOpen(Place place) { Code(place) = c_open; }
    void SetInQueue(Place place) { Code(place) = ~LabelInQueue; }

    [[nodiscard]] bool HasFinalNeighbor(Place place) const {
        const char8_t* const centre = m_finals->pixels + place;
        std::uint32_t any = 0;
        if constexpr (readsRows) {
#pragma GCC unroll 9
            for (std::size_t i = 0; i < rowCount; ++i) {
                std::uint32_t row = 0;
                std::memcpy(&row, centre + m_rowSteps[i] - 1, sizeof row);
                any |= row & flagMasks[i];
            }
        } else {
#pragma GCC unroll 6
            for (std::size_t i = 0; i < N::count; ++i)
                any |= centre[m_steps[i]];
        }
        return any != 0;
    }

    /// Gives a pixel in the queue its label: that of the only region among its final neighbours, or that of a
    /// line if there are two or none. Returns whether a neighbour is open.
    bool Decide(Place place) {
        bool hasOpen = false;
        Code(place) = readsRows ? OnlyRegionInRows(place, hasOpen) : OnlyRegion(place, hasOpen);
        IsFinal(place) = 1;
        return hasOpen;
    }

    /// Calls `body(index)` with the indices of all open neighbours, in the order of the table. `body` may
    /// change the label of that neighbour.
    template <class Body>
    void ForEachOpenNeighbor(Place place, const Body& body) const {
        if constexpr (readsRows) {
            // Most rows have no open pixel.
            std::size_t first = 0;
            for (std::size_t i = 0; i < rowCount; first += rowLengths[i], ++i) {
                if (HasOpen(RowAt(place, i) | ~neighborMasks[i]))
                    ForEachOpenOf(place, first, first + rowLengths[i], body);
            }
        } else {
            ForEachOpenOf(place, 0, N::count, body);
        }
    }

    /// Prefetches what `Decide` reads. A row usually lies within one cache line.
    void Prefetch(Place place) const {
#pragma GCC unroll 9
        for (std::size_t i = 0; i < rowCount; ++i)
            __builtin_prefetch(m_codes->pixels + place + m_rowSteps[i]);
    }

    /// Prefetches what `HasFinalNeighbor` reads.
    void PrefetchFinals(Place place) const {
#pragma GCC unroll 9
        for (std::size_t i = 0; i < rowCount; ++i)
            __builtin_prefetch(m_finals->pixels + place + m_rowSteps[i]);
    }

private:
    // Complements of labels. Regions lie between the sentinels, 0 to 2, and the code of a line, which is the
    // greatest number.
    static constexpr std::uint32_t c_open = ~LabelMask;
    static constexpr std::uint32_t c_firstRegion = ~(LabelInQueue - 1);
    static constexpr std::uint32_t c_line = ~LabelWatershed;
    static_assert(c_open == 1 && c_firstRegion == 3 && c_line == 0xFFFFFFFF);

    /// Memory that is 0 and untouched, in large pages.
    template <class Pixel, class Element>
    struct StMemory {
        StMemory(const IImage::CType& type, const CSize& size)
            : image(type, size, CSize(0, 0, 0))
            , pixels(reinterpret_cast<Element*>(CImageView<Pixel>(image).Row(0, 0))) {}

        CImage image;
        Element* pixels;
    };

    template <class Element>
    bool Touch(Element* pixels, CWorkPace& pace) const {
        constexpr std::int64_t bytesOfPage = 4096; // or more
        constexpr std::int64_t pixelsOfPage = bytesOfPage / sizeof(Element);
        const std::int64_t pageCount = (m_end - m_origin + pixelsOfPage - 1) / pixelsOfPage;
        return ForEachPiece(pageCount, bytesOfPage / 2, pace, [&](std::int64_t first, std::int64_t end) {
            for (Place page = first; page < end; ++page)
                pixels[m_origin + page * pixelsOfPage] = 0;
        });
    }

    [[nodiscard]] std::uint32_t& Code(Place place) const { return m_codes->pixels[place]; }
    [[nodiscard]] char8_t& IsFinal(Place place) const { return m_finals->pixels[place]; }

    /// Neighbour by neighbour: there is a single region if the smallest and the greatest number of a region
    /// are equal. The subtraction moves the sentinels above all regions, the addition moves the code of a
    /// line below them.
    [[nodiscard]] std::uint32_t OnlyRegion(Place place, bool& hasOpen) const {
        const std::uint32_t* const centre = m_codes->pixels + place;
        std::uint32_t least = c_line;
        std::uint32_t greatest = 0;
        std::uint32_t leastState = c_line;
#pragma GCC unroll 6
        for (std::size_t i = 0; i < N::count; ++i) {
            const std::uint32_t code = centre[m_steps[i]];
            least = std::min(least, code - c_firstRegion);
            greatest = std::max(greatest, code + 1);
            leastState = std::min(leastState, code - c_open);
        }
        hasOpen = leastState == 0;
        return least + c_firstRegion == greatest - 1 ? least + c_firstRegion : c_line;
    }

    /// A row of three codes and the one after it.
    using FourCodes = std::uint32_t __attribute__((vector_size(4 * sizeof(std::uint32_t))));

    [[nodiscard]] FourCodes RowAt(Place place, std::size_t row) const {
        FourCodes codes;
        std::memcpy(&codes, m_codes->pixels + place + m_rowSteps[row] - 1, sizeof codes);
        return codes;
    }

    [[nodiscard]] static bool HasOpen(FourCodes codes) {
        const auto isOpen = std::bit_cast<std::array<std::uint64_t, 2>>(codes == c_open);
        return (isOpen[0] | isOpen[1]) != 0;
    }

    template <class Body>
    void ForEachOpenOf(Place place, std::size_t first, std::size_t end, const Body& body) const {
        for (std::size_t i = first; i < end; ++i) {
            if (IsOpen(place + m_steps[i]))
                body(i);
        }
    }

    /// The same for all neighbours of a row at once: there is a single region if the bits set in any number
    /// are the bits set in all of them.
    [[nodiscard]] std::uint32_t OnlyRegionInRows(Place place, bool& hasOpen) const {
        FourCodes any{};
        FourCodes all = ~any;
        FourCodes open{};
#pragma GCC unroll 9
        for (std::size_t i = 0; i < rowCount; ++i) {
            const FourCodes codes = RowAt(place, i) & codeMasks[i];
            // With 1 added, a line is 0 and the sentinels are 1 to 3.
            const auto isNone = static_cast<FourCodes>(((codes + 1) & ~std::uint32_t{3}) == 0);
            open |= static_cast<FourCodes>(codes == c_open);
            any |= codes & ~isNone;
            all &= codes | isNone;
        }
        hasOpen = (open[0] | open[1] | open[2]) != 0;
        const std::uint32_t anyBits = any[0] | any[1] | any[2];
        const std::uint32_t allBits = all[0] & all[1] & all[2];
        return anyBits == allBits ? anyBits : c_line;
    }

    /// For each row: all bits of the neighbours. The pixel itself is neither open nor final when its
    /// neighbours are read, and does no harm.
    static constexpr std::array<FourCodes, rowCount> codeMasks = [] {
        std::array<FourCodes, rowCount> masks{};
        for (std::size_t i = 0; i < rowCount; ++i) {
            const auto mask = [&](std::size_t at) {
                const bool isCentre = at == 1 && rows[i].dy == 0 && rows[i].dz == 0;
                return rows[i].isNeighbor[at] || isCentre ? ~std::uint32_t{0} : std::uint32_t{0};
            };
            // What the code after the row brings in is dropped in the end.
            masks[i] = FourCodes{mask(0), mask(1), mask(2), ~std::uint32_t{0}};
        }
        return masks;
    }();

    /// The same without the pixel itself and what comes after the row.
    static constexpr std::array<FourCodes, rowCount> neighborMasks = [] {
        std::array<FourCodes, rowCount> masks{};
        for (std::size_t i = 0; i < rowCount; ++i) {
            const auto mask = [&](std::size_t at) {
                return rows[i].isNeighbor[at] ? ~std::uint32_t{0} : std::uint32_t{0};
            };
            masks[i] = FourCodes{mask(0), mask(1), mask(2), 0};
        }
        return masks;
    }();

    /// How many neighbours a row has.
    static constexpr std::array<std::size_t, rowCount> rowLengths = [] {
        std::array<std::size_t, rowCount> lengths{};
        for (std::size_t i = 0; i < rowCount; ++i)
            lengths[i] = static_cast<std::size_t>(std::ranges::count(rows[i].isNeighbor, true));
        return lengths;
    }();

    /// The same for the bytes that are read with a row of flags.
    static constexpr std::array<std::uint32_t, rowCount> flagMasks = [] {
        std::array<std::uint32_t, rowCount> masks{};
        for (std::size_t i = 0; i < rowCount; ++i) {
            std::array<unsigned char, 4> bytes{};
            for (std::size_t at = 0; at < 3; ++at)
                bytes[at] = rows[i].isNeighbor[at] ? 1 : 0;
            masks[i] = std::bit_cast<std::uint32_t>(bytes);
        }
        return masks;
    }();

    std::int64_t m_stepY = 0;
    std::int64_t m_stepZ = 0;
    Place m_origin = 0; // of the first pixel
    Place m_end = 0;    // past the last pixel
    std::array<std::int64_t, N::count> m_steps{};
    std::array<std::int64_t, rowCount> m_rowSteps{};
    std::optional<StMemory<std::uint32_t, std::uint32_t>> m_codes;
    // char8_t does not alias other types, so the other members stay in registers across a store.
    std::optional<StMemory<unsigned char, char8_t>> m_finals;
};

} // namespace ORVEN
