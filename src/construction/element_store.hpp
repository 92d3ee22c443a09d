// A growing block of elements.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <span>
#include <type_traits>

namespace orvane::python {

/// A vector of elements of any element type, `bool` included: one byte or more for each, in one block whose unused
/// part is not initialised. Growing throws `std::bad_alloc` and then leaves the elements as they were.
template <class T>
class ElementStore {
public:
    std::size_t size() const noexcept { return m_size; }
    const T* data() const noexcept { return m_block.get(); }
    operator std::span<const T>() const noexcept { return {data(), m_size}; }

    void reserve(std::size_t capacity) {
        if (capacity <= m_capacity)
            return;
        if (capacity > std::numeric_limits<std::ptrdiff_t>::max() / sizeof(T))
            throw std::bad_array_new_length();
        void* const block = std::realloc(m_block.get(), capacity * sizeof(T));
        if (block == nullptr)
            throw std::bad_alloc();
        static_cast<void>(m_block.release()); // realloc has taken it over
        m_block.reset(static_cast<T*>(block));
        m_capacity = capacity;
    }
    void push_back(const T& element) {
        if (m_size == m_capacity)
            reserve(std::max<std::size_t>(2 * m_capacity, 16));
        m_block[m_size++] = element;
    }
    /// Room for exactly `size` elements, for the caller to fill; what was there is dropped.
    T* resizeForOverwrite(std::size_t size) {
        m_size = 0;
        reserve(size);
        m_size = size;
        return m_block.get();
    }
    void clear() noexcept { m_size = 0; }

private:
    static_assert(std::is_trivially_copyable_v<T>);
    struct Free {
        void operator()(T* block) const noexcept { std::free(block); }
    };

    std::unique_ptr<T[], Free> m_block;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
};

} // namespace orvane::python
