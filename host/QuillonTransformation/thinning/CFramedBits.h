#pragma once

#include <QuillonBase/CZeroedArray.h>

#include <cstddef>
#include <cstdint>

namespace ORVEN {

/// A set of pixels of a 3-d image from which the block around a pixel is read with three loads. The image is
/// surrounded by a frame of one pixel that is never in the set, so that no border tests are needed.
///
/// The place of a pixel is a number of bits from the start; the places of neighbours differ by `Offset`.
/// Three bits are stored at each place: the pixel and its predecessor and successor along y, so that the 9
/// bits of a plane of a block are contiguous. This takes 3 bits per pixel, and setting or clearing a pixel
/// touches three rows.
class CFramedBits {
public:
    CFramedBits(std::int64_t nx, std::int64_t ny, std::int64_t nz)
        : m_rowStep(3 * ((nx + 2 + 7) / 8 * 8)) // so that each row begins at a byte boundary
        , m_planeStep(m_rowStep * (ny + 2))
        , m_bytes(static_cast<std::size_t>(m_planeStep / 8 * (nz + 2)) + 1) {}

    /// One more than the largest place.
    [[nodiscard]] std::uint64_t PlaceCount() const { return 8 * std::uint64_t{m_bytes.size()}; }
    [[nodiscard]] std::uint64_t Place(std::int64_t x, std::int64_t y, std::int64_t z) const {
        return static_cast<std::uint64_t>(Offset(x + 1, y + 1, z + 1));
    }
    [[nodiscard]] std::int64_t Offset(std::int64_t dx, std::int64_t dy, std::int64_t dz) const {
        return 3 * dx + m_rowStep * dy + m_planeStep * dz;
    }

    /// The pixel and its neighbours, in the order of `BlockBit`.
    [[nodiscard]] std::uint32_t Block(std::uint64_t place) const {
        const std::uint64_t begin = place - 3;
        const unsigned char* const byte = m_bytes.data() + begin / 8;
        const unsigned shift = begin % 8;
        const std::int64_t step = m_planeStep / 8;
        return PlaneOf(byte - step, shift) | PlaneOf(byte, shift) << 9 | PlaneOf(byte + step, shift) << 18;
    }

    /// Prefetches the memory of a block.
    void Prefetch(std::uint64_t place) const {
        const unsigned char* const byte = m_bytes.data() + place / 8;
        const std::int64_t step = m_planeStep / 8;
        for (const std::int64_t offset : {-step, std::int64_t{0}, step})
            __builtin_prefetch(byte + offset);
    }

    [[nodiscard]] bool Contains(std::uint64_t place) const {
        return (m_bytes[(place + 1) / 8] >> (place + 1) % 8 & 1) != 0;
    }

    void Insert(std::uint64_t place) {
        ForEachCopy(place,
                    [](unsigned char& byte, unsigned bit) { byte = static_cast<unsigned char>(byte | bit); });
    }
    void Erase(std::uint64_t place) {
        ForEachCopy(
            place, [](unsigned char& byte, unsigned bit) { byte = static_cast<unsigned char>(byte & ~bit); });
    }

private:
    [[nodiscard]] static std::uint32_t PlaneOf(const unsigned char* byte, unsigned shift) {
        return static_cast<std::uint32_t>(byte[0] | byte[1] << 8) >> shift & 0x1FF;
    }

    template <class Change>
    void ForEachCopy(std::uint64_t place, const Change& change) {
        const auto rowStep = static_cast<std::uint64_t>(m_rowStep);
        for (const std::uint64_t bit : {place - rowStep + 2, place + 1, place + rowStep})
            change(m_bytes[bit / 8], 1U << bit % 8);
    }

    std::int64_t m_rowStep;
    std::int64_t m_planeStep;
    CZeroedArray<unsigned char> m_bytes;
};

} // namespace ORVEN
