#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <utility>

namespace ORVEN {

/// A first-in first-out queue of pixels, each a place in memory below 2^48, in blocks that are freed when
/// they have been read. A ring that doubles would take up to three times the memory while it grows. Memory: 6
/// bytes per pixel in the queue, and two blocks of 48 KiB.
class CPixelQueue {
public:
    using Place = std::int64_t;

    [[nodiscard]] bool IsEmpty() const { return m_first == m_end; }

    void PushBack(Place pixel) {
        if (m_end == m_lastBlockEnd)
            AddBlock();
        *m_end++ = Pack(pixel);
    }

    /// Does not branch on the condition.
    void PushBackIf(bool isWanted, Place pixel) {
        if (m_end == m_lastBlockEnd)
            AddBlock();
        *m_end = Pack(pixel);
        m_end += isWanted ? 1 : 0;
    }

    Place PopFront() {
        const Place pixel = Unpack(*m_first++);
        if (m_first == m_firstBlockEnd)
            DropBlock();
        return pixel;
    }

    /// Takes the pixels at the front, up to the end of their block, and calls `body(pixel, ahead)` for each.
    /// `ahead` is the pixel `steps` after it, or the last one taken. `body` can add pixels, which are not
    /// among those taken. Returns their number; the queue must not be empty. Faster than `PopFront` for many.
    template <class Body>
    std::size_t TakeBlock(std::size_t steps, const Body& body) {
        const StPacked* const first = m_first;
        const StPacked* const end = m_firstBlockEnd == m_lastBlockEnd ? m_end : m_firstBlockEnd;
        const auto count = static_cast<std::size_t>(end - first);
        for (std::size_t i = 0; i < count; ++i)
            body(Unpack(first[i]), Unpack(first[std::min(i + steps, count - 1)]));
        m_first += count;
        if (m_first == m_firstBlockEnd)
            DropBlock();
        return count;
    }

    /// Empties the queue and frees its memory.
    void Clear() {
        m_blocks.clear();
        m_spare.reset();
        m_first = m_firstBlockEnd = m_end = m_lastBlockEnd = nullptr;
    }

private:
    struct [[gnu::packed]] StPacked {
        std::uint32_t low;
        std::uint16_t high;
    };
    static_assert(sizeof(StPacked) == 6);

    static StPacked Pack(Place place) {
        return {static_cast<std::uint32_t>(place), static_cast<std::uint16_t>(place >> 32)};
    }
    static Place Unpack(StPacked packed) { return packed.low | Place{packed.high} << 32; }

    using Block = std::unique_ptr<StPacked[]>;

    static constexpr std::size_t blockLength = 8192;

    void AddBlock() {
        // The pixel behind the last one keeps the end of a block distinct from the beginning of any other.
        m_blocks.push_back(m_spare != nullptr ? std::move(m_spare)
                                              : std::make_unique<StPacked[]>(blockLength + 1));
        m_end = m_blocks.back().get();
        m_lastBlockEnd = m_end + blockLength;
        if (m_blocks.size() == 1)
            BeginFirstBlock();
    }

    /// Called when the first block has been read.
    void DropBlock() {
        if (m_blocks.size() == 1) {
            m_end = m_blocks.front().get();
        } else {
            m_spare = std::move(m_blocks.front());
            m_blocks.pop_front();
        }
        BeginFirstBlock();
    }

    void BeginFirstBlock() {
        m_first = m_blocks.front().get();
        m_firstBlockEnd = m_first + blockLength;
    }

    std::deque<Block> m_blocks;
    Block m_spare; // saves most allocations
    StPacked* m_first = nullptr;
    StPacked* m_firstBlockEnd = nullptr;
    StPacked* m_end = nullptr;
    StPacked* m_lastBlockEnd = nullptr;
};

} // namespace ORVEN
