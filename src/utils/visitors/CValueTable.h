#pragma once

#include "utils/visitors/OrderedKey.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>
#include <vector>

namespace ORVEN::visitors {

/// One number for each value among the pixels of a 32-bit image; `Ascending` has the values in order.
///
/// The numbers stand in a hash table, since pixels ask for them one by one: an image of floats can have
/// nearly as many values as pixels, and each walk down an ordered tree of that size misses the cache at every
/// step. 16 bytes a slot, of which at most three quarters are in use.
///
/// Floats are ordered by less-than; +0.0 and -0.0 are one value. All NaN are one value too, above +infinity.
template <class T, class Number>
class CValueTable {
    static_assert(std::is_same_v<T, unsigned int> || std::is_same_v<T, float>);

public:
    /// Forgets all values and keeps the memory.
    void Clear() {
        std::ranges::fill(m_slots, StSlot{});
        m_size = 0;
    }

    /// How many values there are.
    [[nodiscard]] std::size_t Size() const { return m_size; }

    /// The number of the value, 0 if it is new. The reference is good until the next new value.
    Number& operator[](T value) {
        const std::uint32_t key = OrderedKey(value);
        StSlot* slot = &Find(key);
        if (!slot->isUsed) {
            if (4 * (m_size + 1) > 3 * m_slots.size()) {
                Grow();
                slot = &Find(key);
            }
            *slot = {key, 1, Number{}};
            ++m_size;
        }
        return slot->number;
    }

    /// Calls `body(value, number)` for all values, in any order.
    template <class Body>
    void ForEach(const Body& body) const {
        for (const StSlot& slot : m_slots) {
            if (slot.isUsed)
                body(ValueOf(slot.key), slot.number);
        }
    }

    /// All values with their numbers, the least value first.
    [[nodiscard]] std::vector<std::pair<T, Number>> Ascending() const {
        std::vector<std::pair<T, Number>> entries;
        entries.reserve(m_size);
        ForEach([&entries](T value, Number number) { entries.emplace_back(value, number); });
        std::ranges::sort(entries, {}, [](const auto& entry) { return OrderedKey(entry.first); });
        return entries;
    }

private:
    struct StSlot {
        std::uint32_t key;
        std::uint32_t isUsed;
        Number number;
    };

    static constexpr std::uint32_t signBit = 0x80000000U;

    static T ValueOf(std::uint32_t key) {
        if constexpr (std::is_same_v<T, float>)
            return std::bit_cast<float>((key & signBit) != 0 ? key ^ signBit : ~key);
        else
            return key;
    }

    /// The slot of the key, or the unused one that it would take.
    StSlot& Find(std::uint32_t key) {
        const std::size_t mask = m_slots.size() - 1;
        // Multiplicative hashing by the golden ratio: similar keys go to slots far apart.
        std::size_t place = (key * 0x9E3779B97F4A7C15U) >> m_shift;
        while (m_slots[place].isUsed && m_slots[place].key != key)
            place = (place + 1) & mask;
        return m_slots[place];
    }

    void Grow() {
        std::vector<StSlot> before(2 * m_slots.size());
        before.swap(m_slots);
        --m_shift;
        for (const StSlot& slot : before) {
            if (slot.isUsed)
                Find(slot.key) = slot;
        }
    }

    static constexpr unsigned firstBits = 10;

    std::size_t m_size = 0;
    unsigned m_shift = 64 - firstBits;
    std::vector<StSlot> m_slots = std::vector<StSlot>(std::size_t{1} << firstBits);
};

} // namespace ORVEN::visitors
