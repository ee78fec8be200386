#pragma once

#include <QuillonBase/CZeroedArray.h>

#include <bit>
#include <cstddef>
#include <cstdint>

namespace ORVEN {

/// One bit per pixel of a number of rows, initially all 0. Threads may modify different rows at the same
/// time.
class CBitRows {
public:
    CBitRows(std::int64_t rowLength, std::int64_t rowCount)
        : m_wordsPerRow((rowLength + c_bits - 1) / c_bits)
        , m_words(static_cast<std::size_t>(m_wordsPerRow * rowCount)) {}

    /// Sets the 64 bits from `firstX` on, a multiple of 64. Bits beyond the row must be 0.
    void Assign(std::int64_t row, std::int64_t firstX, std::uint64_t bits) {
        m_words[static_cast<std::size_t>(row * m_wordsPerRow + firstX / c_bits)] = bits;
    }
    [[nodiscard]] bool Has(std::int64_t row, std::int64_t x) const {
        return (m_words[static_cast<std::size_t>(row * m_wordsPerRow + x / c_bits)] >> x % c_bits & 1) != 0;
    }

    /// Calls `body(x)` for the set bits of a row from `first` to `last`, both included.
    template <class Body>
    void ForEach(std::int64_t row, std::int64_t first, std::int64_t last, const Body& body) const {
        const std::uint64_t* const words = m_words.data() + row * m_wordsPerRow;
        ForEachWord(first, last, [&](std::int64_t word, std::uint64_t mask) {
            VisitBits(words[word] & mask, word, body);
        });
    }

private:
    static constexpr std::int64_t c_bits = 64;

    template <class Body>
    static void ForEachWord(std::int64_t first, std::int64_t last, const Body& body) {
        const std::int64_t lastWord = last / c_bits;
        std::uint64_t mask = ~std::uint64_t{0} << first % c_bits;
        for (std::int64_t word = first / c_bits; word < lastWord; ++word) {
            body(word, mask);
            mask = ~std::uint64_t{0};
        }
        body(lastWord, mask & ~std::uint64_t{0} >> (c_bits - 1 - last % c_bits));
    }

    template <class Body>
    static void VisitBits(std::uint64_t bits, std::int64_t word, const Body& body) {
        for (; bits != 0; bits &= bits - 1)
            body(word * c_bits + std::countr_zero(bits));
    }

    std::int64_t m_wordsPerRow;
    CZeroedArray<std::uint64_t> m_words;
};

} // namespace ORVEN
