// An array on the library's side: element kind, extents, layout and storage.
#pragma once

#include "dimensions.hpp"
#include "storage.hpp"

#include <orvane_data_array/boundary.hpp>
#include <orvane_data_array/element_kinds.hpp>
#include <orvane_data_array/status.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace orvane::data {

namespace detail {

/// A place in an array. It never moves: clients step by pointer arithmetic. So the two places that can be
/// asked for live in the array itself, and every handle to a place shares them.
class IteratorImpl {
public:
    enum class Place { Begin, End };

    IteratorImpl(impl::ArrayImpl& array, Place place) noexcept : m_array(array), m_place(place) {}

    std::int32_t arrayType() const noexcept;
    /// The address of the element, or the one behind the last element.
    std::byte* element() const noexcept;

private:
    impl::ArrayImpl& m_array;
    Place m_place;
};

/// One element of an array; valid as long as the array's storage is.
class ReferenceImpl {
public:
    ReferenceImpl(std::int32_t arrayType, std::byte* element) noexcept : m_arrayType(arrayType), m_element(element) {}

    std::int32_t arrayType() const noexcept { return m_arrayType; }
    std::byte* realPart() const noexcept { return m_element; }
    std::byte* imagPart() const noexcept { return m_element + partSize(); }
    /// The size in bytes of one part of a complex element.
    std::size_t partSize() const noexcept { return elementSize(m_arrayType) / 2; }

private:
    std::int32_t m_arrayType;
    std::byte* m_element;
};

} // namespace detail

namespace impl {

/// Has one owner; who shares arrays counts for himself and says so when he asks for a copy.
class ArrayImpl {
public:
    ArrayImpl(std::int32_t arrayType, Dimensions dimensions, std::size_t numElements, MemoryLayout layout,
              storage::Storage storage) noexcept;

    ArrayImpl(const ArrayImpl&) = delete;
    ArrayImpl& operator=(const ArrayImpl&) = delete;

    std::int32_t arrayType() const noexcept { return m_arrayType; }
    Dimensions& dimensions() noexcept { return m_dimensions; }
    std::size_t numElements() const noexcept { return m_numElements; }
    std::size_t numBytes() const noexcept { return m_numElements * elementSize(m_arrayType); }
    /// The elements, in the array's layout.
    std::byte* data() const noexcept { return static_cast<std::byte*>(m_storage.get()); }

    detail::IteratorImpl* begin() noexcept { return &m_begin; }
    detail::IteratorImpl* end() noexcept { return &m_end; }

    /// A second array with the same contents, or null for want of memory.
    std::unique_ptr<ArrayImpl> copy() const noexcept;

    /// A second block with the same elements, or null for want of memory.
    storage::Storage copyStorage() const noexcept;

    /// Gives the storage away and leaves the array 0-by-0.
    storage::Storage takeStorage() noexcept;

private:
    std::int32_t m_arrayType;
    MemoryLayout m_layout;
    Dimensions m_dimensions;
    std::size_t m_numElements;
    storage::Storage m_storage;
    detail::IteratorImpl m_begin{*this, detail::IteratorImpl::Place::Begin};
    detail::IteratorImpl m_end{*this, detail::IteratorImpl::Place::End};
};

} // namespace impl
} // namespace orvane::data
