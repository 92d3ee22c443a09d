// A growing block of elements.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <span>
#include <utility>

namespace orvane::python {

/// A vector of elements of any element type, `bool` included: one byte or more for each, in one block whose unused
/// part is not initialised. Growing throws `std::bad_alloc` and then leaves the elements as they were.
template <class T>
class ElementStore {
public:
    std::size_t size() const noexcept { return m_size; }
    const T* data() const noexcept { return m_block.get(); }
    operator std::span<const T>() const noexcept { return {m_block.get(), m_size}; }

    void reserve(std::size_t capacity) {
        if (capacity <= m_capacity)
            return;
        auto block = std::make_unique_for_overwrite<T[]>(capacity);
        std::copy_n(m_block.get(), m_size, block.get());
        m_block = std::move(block);
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
    std::unique_ptr<T[]> m_block;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
};

} // namespace orvane::python
