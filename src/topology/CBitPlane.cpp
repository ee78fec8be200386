#include "topology/CBitPlane.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace quillon {

namespace {

constexpr std::uint64_t c_lowBits = 0x0101010101010101U;
constexpr std::uint64_t c_sevenBits = 0x7F7F7F7F7F7F7F7FU;

// The first byte in memory is the lowest byte of a word.
static_assert(std::endian::native == std::endian::little);

/// Returns 1 in each byte that is not 0: the addition carries into the top bit, or that bit was already set.
constexpr std::uint64_t NonZeroBytes(std::uint64_t bytes) {
    return ((((bytes & c_sevenBits) + c_sevenBits) | bytes) >> 7) & c_lowBits;
}

struct StNonZero {
    std::uint64_t operator()(std::uint64_t bytes) const { return NonZeroBytes(bytes); }
};

struct StOnes {
    std::uint64_t operator()(std::uint64_t bytes) const {
        return NonZeroBytes(bytes ^ c_lowBits) ^ c_lowBits;
    }
};

/// Gathers the lowest bits of eight bytes into one byte. The product moves the bit of byte k to bit 56 + k,
/// and no two partial products overlap.
constexpr std::uint64_t Gathered(std::uint64_t lowBits) { return (lowBits * 0x0102040810204080U) >> 56; }

template <class Test>
void PackRow(const unsigned char* pixels, std::size_t count, std::uint64_t* words, const Test& test) {
    const auto eight = [&](std::size_t first, std::size_t length) {
        std::uint64_t bytes = 0;
        std::memcpy(&bytes, pixels + first, length);
        return Gathered(test(bytes)) << first % 64;
    };
    std::size_t first = 0;
    for (; first + 64 <= count; first += 64) {
        std::uint64_t word = 0;
        for (std::size_t byte = 0; byte < 64; byte += 8)
            word |= eight(first + byte, 8);
        words[first / 64] = word;
    }
    std::uint64_t last = 0;
    for (; first < count; first += 8)
        last |= eight(first, std::min<std::size_t>(8, count - first));
    words[count / 64] = last;
}

template <class Pixel, class Test>
void Pack(const ORVEN::CImageView<Pixel>& pixels, std::int64_t z, CBitPlane& plane, const Test& test) {
    std::uint64_t* row = plane.Words();
    for (std::int64_t y = 0; y < pixels.ny; ++y, row += plane.RowWords())
        PackRow(pixels.Row(y, z), static_cast<std::size_t>(pixels.nx), row, test);
}

} // namespace

CBitPlane::CBitPlane(std::int64_t nx, std::int64_t ny)
    : m_rowWords(static_cast<std::size_t>(nx / 64 + 1))
    , m_groupCount((static_cast<std::size_t>(ny) * m_rowWords + c_group - 1) / c_group)
    , m_words(2 * (m_rowWords + 1) + m_groupCount * c_group) {}

void CBitPlane::Clear() { std::fill(m_words.begin(), m_words.end(), std::uint64_t{0}); }

void CBitPlane::TakeNonZero(const ORVEN::CImageView<const unsigned char>& pixels, std::int64_t z) {
    Pack(pixels, z, *this, StNonZero());
}

void CBitPlane::TakeOnes(const ORVEN::CImageView<unsigned char>& pixels, std::int64_t z) {
    Pack(pixels, z, *this, StOnes());
}

} // namespace quillon
