#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ORVEN {

/// The ends of the levels of a flood, to be read once in ascending order. Memory: one bit per pixel and one
/// per level, where a list of the starts takes 64 bits per level: if all values differ, more than the pixels.
///
/// Level i, which ends at `end`, has its bit at position `end + i`.
class CLevelEnds {
public:
    /// Makes room for `levelCount` levels, the last of which ends at `lastEnd`.
    CLevelEnds(std::uint64_t lastEnd, std::uint64_t levelCount)
        : m_words((lastEnd + levelCount) / 64 + 1, 0) {}

    /// Sets the end of a level.
    void Set(std::uint64_t level, std::uint64_t end) {
        m_words[(end + level) / 64] |= std::uint64_t{1} << (end + level) % 64;
    }

    /// The end of the next level. To be called once for each level, after the ends of all are set.
    std::uint64_t Next() {
        std::size_t word = m_position / 64;
        std::uint64_t bits = m_words[word] >> m_position % 64 << m_position % 64;
        while (bits == 0)
            bits = m_words[++word];
        const std::uint64_t end = word * 64 + static_cast<std::uint64_t>(std::countr_zero(bits));
        m_position = end + 1;
        return end - m_level++;
    }

private:
    std::vector<std::uint64_t> m_words;
    std::uint64_t m_position = 0; // where the search for the next bit begins
    std::uint64_t m_level = 0;
};

} // namespace ORVEN
