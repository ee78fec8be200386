#pragma once

#include "segmentation/floods/WatershedLabels.h"

#include <cstddef>
#include <vector>

namespace ORVEN {

/// A first-in first-out queue of pixels. It is a ring in one block of memory, so that the next pixels can be
/// inspected ahead of time. It doubles its capacity when full and never shrinks. Memory: 6 bytes per pixel.
class CPixelQueue {
public:
    [[nodiscard]] bool IsEmpty() const { return m_first == m_end; }
    [[nodiscard]] std::size_t Size() const { return m_end - m_first; }

    void PushBack(StPixelPosition pixel) {
        if (Size() == m_ring.size())
            Grow();
        m_ring[m_end++ & m_mask] = pixel;
    }

    /// Does not branch on the condition.
    void PushBackIf(bool isWanted, StPixelPosition pixel) {
        if (Size() == m_ring.size())
            Grow();
        m_ring[m_end & m_mask] = pixel;
        m_end += isWanted ? 1 : 0;
    }

    StPixelPosition PopFront() { return m_ring[m_first++ & m_mask]; }

    /// The pixel `steps` behind the first one, or the first one if the queue is shorter.
    [[nodiscard]] StPixelPosition Ahead(std::size_t steps) const {
        return m_ring[(m_first + (steps < Size() ? steps : 0)) & m_mask];
    }

    void Clear() { m_first = m_end = 0; }

private:
    void Grow() {
        std::vector<StPixelPosition> larger(m_ring.empty() ? 4096 : 2 * m_ring.size());
        const std::size_t size = Size();
        for (std::size_t i = 0; i < size; ++i)
            larger[i] = m_ring[(m_first + i) & m_mask];
        m_ring.swap(larger);
        m_mask = m_ring.size() - 1;
        m_first = 0;
        m_end = size;
    }

    std::vector<StPixelPosition> m_ring; // its size is a power of two, or 0
    std::size_t m_mask = 0;
    std::size_t m_first = 0;
    std::size_t m_end = 0;
};

} // namespace ORVEN
