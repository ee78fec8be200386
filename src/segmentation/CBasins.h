#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

namespace ORVEN {

/// Connected sets of pixels that wait for a label, and the number of pixels in each. Each set is identified
/// by a number; after two sets are joined, both numbers refer to the joint set.
///
/// Time: practically constant per call. Memory: 8 bytes per number issued, in blocks, because a vector would
/// take up to three times as much while it grows.
///
/// Source: union by size with path halving; R. E. Tarjan, J. van Leeuwen, *Worst-case analysis of set union
/// algorithms*, Journal of the ACM 31(2), 1984.
class CBasins {
public:
    using Number = std::uint32_t;

    /// Returns the number of a new basin without pixels. Raises `std::length_error` when there are no numbers
    /// left below `end`.
    Number Add(Number end) {
        if (m_count >= end)
            throw std::length_error("watershed: too many basins");
        if (m_count % blockLength == 0)
            m_blocks.push_back(std::make_unique<std::uint64_t[]>(blockLength));
        return m_count++;
    }

    /// Whether the number has been issued.
    [[nodiscard]] bool Has(Number basin) const { return basin < m_count; }

    /// Returns the number that represents the whole basin, given any of its numbers.
    Number Find(Number basin) {
        while (IsJoined(basin)) {
            const Number parent = Parent(basin);
            if (IsJoined(parent))
                Entry(basin) = Entry(parent);
            basin = parent;
        }
        return basin;
    }

    /// Joins two basins, each given by its representative, and returns the representative of the joint basin.
    Number Join(Number a, Number b) {
        if (a == b)
            return a;
        if (Entry(a) < Entry(b))
            std::swap(a, b);
        Entry(a) += Entry(b);
        Entry(b) = joined | a;
        return a;
    }

    /// `basin` has to be the representative of its basin.
    void AddPixel(Number basin) { ++Entry(basin); }
    [[nodiscard]] std::uint64_t PixelCount(Number basin) const { return Entry(basin); }

    /// Forgets all basins and frees their memory.
    void Clear() {
        m_blocks.clear();
        m_count = 0;
    }

private:
    static constexpr std::uint64_t joined = std::uint64_t{1} << 63;
    static constexpr std::size_t blockLength = 4096;

    /// The number of pixels of a basin, or `joined` and the basin it was joined to.
    [[nodiscard]] std::uint64_t& Entry(Number basin) const {
        return m_blocks[basin / blockLength][basin % blockLength];
    }

    [[nodiscard]] bool IsJoined(Number basin) const { return (Entry(basin) & joined) != 0; }
    [[nodiscard]] Number Parent(Number basin) const { return static_cast<Number>(Entry(basin)); }

    std::vector<std::unique_ptr<std::uint64_t[]>> m_blocks;
    Number m_count = 0;
};

} // namespace ORVEN
