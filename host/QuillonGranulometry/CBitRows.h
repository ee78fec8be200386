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

    void Set(std::int64_t row, std::int64_t x) { Row(row)[x / c_bits] |= std::uint64_t{1} << x % c_bits; }

    void Clear(std::int64_t row, std::int64_t x) {
        Row(row)[x / c_bits] &= ~(std::uint64_t{1} << x % c_bits);
    }
    [[nodiscard]] bool Has(std::int64_t row, std::int64_t x) const {
        return (m_words[static_cast<std::size_t>(row * m_wordsPerRow + x / c_bits)] >> x % c_bits & 1) != 0;
    }

    /// The number of bits set in a row.
    [[nodiscard]] std::int64_t CountOf(std::int64_t row) const {
        const std::uint64_t* const words = m_words.data() + row * m_wordsPerRow;
        std::int64_t count = 0;
        for (std::int64_t word = 0; word < m_wordsPerRow; ++word)
            count += std::popcount(words[word]);
        return count;
    }

    /// Calls `body(x)` for the set bits of a row from `first` to `last`, both included.
    template <class Body>
    void ForEach(std::int64_t row, std::int64_t first, std::int64_t last, const Body& body) const {
        const std::uint64_t* const words = m_words.data() + row * m_wordsPerRow;
        ForEachWord(first, last, [&](std::int64_t word, std::uint64_t mask) {
            VisitBits(words[word] & mask, word, body);
        });
    }

    /// Like `ForEach`, and clears the bits. Returns the number of bits cleared.
    template <class Body>
    std::int64_t TakeAll(std::int64_t row, std::int64_t first, std::int64_t last, const Body& body) {
        std::uint64_t* const words = Row(row);
        std::int64_t count = 0;
        ForEachWord(first, last, [&](std::int64_t word, std::uint64_t mask) {
            const std::uint64_t taken = words[word] & mask;
            words[word] ^= taken;
            count += VisitBits(taken, word, body);
        });
        return count;
    }

private:
    static constexpr std::int64_t c_bits = 64;

    [[nodiscard]] std::uint64_t* Row(std::int64_t row) { return m_words.data() + row * m_wordsPerRow; }

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
    static std::int64_t VisitBits(std::uint64_t bits, std::int64_t word, const Body& body) {
        std::int64_t count = 0;
        for (; bits != 0; bits &= bits - 1) {
            body(word * c_bits + std::countr_zero(bits));
            ++count;
        }
        return count;
    }

    std::int64_t m_wordsPerRow;
    CZeroedArray<std::uint64_t> m_words;
};

} // namespace ORVEN
