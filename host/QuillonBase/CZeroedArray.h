#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <type_traits>

namespace ORVEN {

/// An array of zeros of fixed length. The memory of large arrays is not touched at first, so creating one
/// takes no time; its pages are allocated when they are first used.
template <class T>
class CZeroedArray {
    static_assert(std::is_trivial_v<T>);

public:
    explicit CZeroedArray(std::size_t size)
        : m_size(size)
        , m_items(static_cast<T*>(std::calloc(size > 0 ? size : 1, sizeof(T)))) {
        if (m_items == nullptr)
            throw std::bad_alloc();
    }

    [[nodiscard]] std::size_t size() const { return m_size; }
    [[nodiscard]] T* data() { return m_items.get(); }
    [[nodiscard]] const T* data() const { return m_items.get(); }
    [[nodiscard]] T& operator[](std::size_t i) { return m_items.get()[i]; }
    [[nodiscard]] const T& operator[](std::size_t i) const { return m_items.get()[i]; }

private:
    struct StFree {
        void operator()(T* items) const { std::free(items); }
    };

    std::size_t m_size;
    std::unique_ptr<T, StFree> m_items;
};

} // namespace ORVEN
