#pragma once

#include <QuillonBase/CZeroedArray.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace ORVEN {

/// Two sets of pixels of a 3-d image, from which the block around a pixel is read with three loads. The image
/// is surrounded by a frame of one pixel that is in neither set, so that no border tests are needed.
///
/// Pixels are usually looked up in an order in which neighbours are far apart, so that most of the time goes
/// into cache misses. Lines along x are therefore stored in bundles of 7 x 5. A bundle has a word of 64 bits
/// for each x, which also holds the pixels next to the bundle, 9 x 7 in all: the three words of a block are
/// adjacent. The words of the two sets alternate, so that the blocks of both lie in one or two cache lines.
/// In return, pixels at the surface of a bundle are stored in two or four words. Memory: 3.7 bits per pixel
/// for both sets.
///
/// The place of a pixel is 64 times the number of its word, plus the bit there at which its block begins.
class CPixelSets {
public:
    enum EnSet : std::size_t { FIRST, SECOND };

    /// The difference between the places of neighbours along x.
    static constexpr std::uint64_t c_stepX = 64;

    CPixelSets(std::int64_t nx, std::int64_t ny, std::int64_t nz)
        : m_nx(nx)
        , m_ny(ny)
        , m_nz(nz)
        , m_stepY((nx + 1) * std::int64_t{c_stepX}) // a word before each line, which is also the one after it
        , m_stepZ((BundleCountY() + 1) * m_stepY)   // likewise a bundle
        , m_words(static_cast<std::size_t>(2 * (((BundleCountZ() + 2) * m_stepZ + m_stepY) / 64 + 1))) {
        for (std::int64_t z = 0; z < c_depth; ++z) {
            for (std::int64_t y = 0; y < c_height; ++y)
                m_moves[static_cast<std::size_t>(Bit(y, z))] = MovesFrom(y, z);
        }
    }

    /// One more than the largest place.
    [[nodiscard]] std::uint64_t PlaceCount() const { return 32 * std::uint64_t{m_words.size()}; }
    [[nodiscard]] std::uint64_t Place(std::int64_t x, std::int64_t y, std::int64_t z) const {
        return static_cast<std::uint64_t>((x + 1) * std::int64_t{c_stepX} + (y / c_height + 1) * m_stepY +
                                          (z / c_depth + 1) * m_stepZ + Bit(y % c_height, z % c_depth));
    }
    /// The place of a pixel of the block, counted in raster order.
    [[nodiscard]] std::uint64_t Neighbor(std::uint64_t place, std::size_t number) const {
        const StMoves& moves = m_moves[place % 64];
        return place + (number % 3 - 1) * c_stepX + moves.alongY[number / 3 % 3] + moves.alongZ[number / 9];
    }

    /// The pixel and its neighbours, in the order of `BlockBit`.
    [[nodiscard]] std::uint32_t Block(EnSet set, std::uint64_t place) const {
        const std::uint64_t* const word = m_words.data() + place / 64 * 2 + set;
        const auto column = [bit = place % 64](std::uint64_t pixels) {
            return static_cast<std::uint32_t>(pixels >> bit & c_column);
        };
        return column(word[-2]) | column(word[0]) << 3 | column(word[2]) << 6;
    }

    /// Prefetches the memory of a block in both sets, and that of a copy of the pixel.
    void Prefetch(std::uint64_t place) const {
        const std::uint64_t* const word = m_words.data() + place / 64 * 2;
        __builtin_prefetch(word - 2);
        __builtin_prefetch(word + 3);
        __builtin_prefetch(m_words.data() + (place + m_moves[place % 64].copies[0]) / 64 * 2);
    }

    /// Adds the pixel to the set, or removes it if it is there.
    void Toggle(EnSet set, std::uint64_t place) {
        const StMoves& moves = m_moves[place % 64];
        const auto toggle = [&](std::uint64_t position) {
            m_words[position / 64 * 2 + set] ^= std::uint64_t{1} << position % 64;
        };
        toggle(place + c_center);
        // Nearly half of the pixels have no copy: they toggle a bit that is never read, because a branch
        // could not be predicted.
        toggle(place + moves.copies[0]);
        if (moves.copies[1] != 0) {
            toggle(place + moves.copies[1]);
            toggle(place + moves.copies[2]);
        }
    }

    [[nodiscard]] std::int64_t BundleCountY() const { return (m_ny + c_height - 1) / c_height; }
    [[nodiscard]] std::int64_t BundleCountZ() const { return (m_nz + c_depth - 1) / c_depth; }

    /// Calls `body(y, z)` for the lines of a bundle.
    template <class Body>
    void ForEachLine(std::int64_t bundleY, std::int64_t bundleZ, const Body& body) const {
        for (std::int64_t z = bundleZ * c_depth; z < std::min((bundleZ + 1) * c_depth, m_nz); ++z) {
            for (std::int64_t y = bundleY * c_height; y < std::min((bundleY + 1) * c_height, m_ny); ++y)
                body(y, z);
        }
    }

    /// Calls `body(x, y, z)` for the pixels of a bundle that are in the set.
    template <EnSet set, class Body>
    void ForEachPixel(std::int64_t bundleY, std::int64_t bundleZ, const Body& body) const {
        const std::uint64_t* word =
            m_words.data() + Place(0, bundleY * c_height, bundleZ * c_depth) / 64 * 2 + set;
        for (std::int64_t x = 0; x < m_nx; ++x, word += 2) {
            for (std::uint64_t pixels = *word & c_bundle; pixels != 0; pixels &= pixels - 1) {
                const std::int64_t bit = std::countr_zero(pixels) - c_center;
                body(x, bundleY * c_height + bit % c_rowStep, bundleZ * c_depth + bit / c_rowStep);
            }
        }
    }

private:
    static constexpr std::int64_t c_height = 7; ///< lines of a bundle along y
    static constexpr std::int64_t c_depth = 5;  ///< and along z
    static constexpr std::int64_t c_rowStep = c_height + 2;
    static constexpr std::int64_t c_center = c_rowStep + 1; ///< of a block that begins at bit 0
    /// The pixels of a block with the same x. A row has the length that lets `BlockBit` order them.
    static constexpr std::uint64_t c_column = 0b111'000000'111'000000'111;
    static constexpr std::uint64_t c_unused = 63; ///< a bit of each word that represents no pixel
    static constexpr std::uint64_t c_bundle = [] {
        std::uint64_t lines = 0;
        for (std::int64_t z = 0; z < c_depth; ++z)
            lines |= std::uint64_t{(1 << c_height) - 1} << (z * c_rowStep + c_center);
        return lines;
    }();

    /// Differences between places, modulo the range of the type.
    struct StMoves {
        std::array<std::uint64_t, 3> alongY; ///< to the neighbours
        std::array<std::uint64_t, 3> alongZ;
        /// To further bits that represent the pixel.
        std::array<std::uint64_t, 3> copies;
    };

    [[nodiscard]] static constexpr std::int64_t Bit(std::int64_t y, std::int64_t z) {
        return y + c_rowStep * z;
    }

    /// From a position in a bundle.
    [[nodiscard]] StMoves MovesFrom(std::int64_t y, std::int64_t z) const {
        // The same pixel as seen from the next bundle.
        const std::int64_t bundleY = m_stepY - Bit(c_height, 0);
        const std::int64_t bundleZ = m_stepZ - Bit(0, c_depth);
        const auto leaving = [](std::int64_t position, std::int64_t length) {
            return std::int64_t{position == length} - std::int64_t{position < 0};
        };
        StMoves moves{};
        for (std::int64_t d = -1; d <= 1; ++d) {
            const auto at = static_cast<std::size_t>(d + 1);
            moves.alongY[at] = static_cast<std::uint64_t>(d + leaving(y + d, c_height) * bundleY);
            moves.alongZ[at] = static_cast<std::uint64_t>(d * c_rowStep + leaving(z + d, c_depth) * bundleZ);
        }
        const std::int64_t besideY = (leaving(y - 1, c_height) + leaving(y + 1, c_height)) * bundleY;
        const std::int64_t besideZ = (leaving(z - 1, c_depth) + leaving(z + 1, c_depth)) * bundleZ;
        const auto copy = [](std::int64_t move) { return static_cast<std::uint64_t>(c_center + move); };
        if (besideY != 0 && besideZ != 0)
            moves.copies = {copy(besideY), copy(besideZ), copy(besideY + besideZ)};
        else if (besideY != 0 || besideZ != 0)
            moves.copies = {copy(besideY + besideZ), 0, 0};
        else
            moves.copies = {c_unused - static_cast<std::uint64_t>(Bit(y, z)), 0, 0};
        return moves;
    }

    std::int64_t m_nx;
    std::int64_t m_ny;
    std::int64_t m_nz;
    std::int64_t m_stepY; ///< between places in neighbouring bundles
    std::int64_t m_stepZ;
    std::array<StMoves, c_rowStep * c_depth> m_moves{}; ///< by the bit of a place
    CZeroedArray<std::uint64_t> m_words;
};

} // namespace ORVEN
