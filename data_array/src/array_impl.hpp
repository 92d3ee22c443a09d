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
#include <utility>

namespace orvane::data {

namespace detail {

/// A place in an array. It never moves: clients step by pointer arithmetic. So the two places that can be
/// asked for are parts of the array itself, and every handle to a place shares them.
class IteratorImpl {
public:
    IteratorImpl(const IteratorImpl&) = delete;
    IteratorImpl& operator=(const IteratorImpl&) = delete;

    std::int32_t arrayType() noexcept;
    /// The address of the element, or the one behind the last element.
    std::byte* element() noexcept;

protected:
    enum class Place : std::uint8_t { Begin, End };

    explicit IteratorImpl(Place place) noexcept : m_place(place) {}
    ~IteratorImpl() = default;

private:
    impl::ArrayImpl& array() noexcept;

    Place m_place;
};

struct BeginOfArray : IteratorImpl {
    BeginOfArray() noexcept : IteratorImpl(Place::Begin) {}
};
struct EndOfArray : IteratorImpl {
    EndOfArray() noexcept : IteratorImpl(Place::End) {}
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
///
/// Around a block of the library's own heap, an array lives in the room that the block has in front of its elements.
class ArrayImpl : detail::BeginOfArray, detail::EndOfArray {
public:
    struct Destroy {
        void operator()(ArrayImpl* array) const noexcept;
    };
    using Owner = std::unique_ptr<ArrayImpl, Destroy>;

    /// Null for want of memory.
    static Owner make(std::int32_t arrayType, Dimensions&& dimensions, std::size_t numElements,
                      storage::Storage&& storage) noexcept;

    ArrayImpl(std::int32_t arrayType, Dimensions&& dimensions, std::size_t numElements,
              storage::Storage&& storage) noexcept
        : m_arrayType(arrayType), m_numElements(numElements), m_storage(std::move(storage)),
          m_dimensions(std::move(dimensions)) {}

    ArrayImpl(const ArrayImpl&) = delete;
    ArrayImpl& operator=(const ArrayImpl&) = delete;

    std::int32_t arrayType() const noexcept { return m_arrayType; }
    Dimensions& dimensions() noexcept { return m_dimensions; }
    std::size_t numElements() const noexcept { return m_numElements; }
    std::size_t numBytes() const noexcept { return m_numElements * elementSize(m_arrayType); }
    /// The elements, in the layout in which they came: nothing here depends on it.
    std::byte* data() const noexcept { return static_cast<std::byte*>(m_storage.get()); }

    detail::IteratorImpl* begin() noexcept { return static_cast<detail::BeginOfArray*>(this); }
    detail::IteratorImpl* end() noexcept { return static_cast<detail::EndOfArray*>(this); }

    /// A second array with the same contents, or null for want of memory.
    Owner copy() const noexcept;

    /// A second block with the same elements, or null for want of memory.
    storage::Storage copyStorage() const noexcept;

    /// Gives the storage away and leaves the array 0-by-0.
    storage::Storage takeStorage() noexcept;

private:
    friend detail::IteratorImpl;

    bool m_isInRoom = false; ///< lives in front of the elements that it was made with
    std::int32_t m_arrayType;
    std::size_t m_numElements;
    storage::Storage m_storage;
    Dimensions m_dimensions;
};

} // namespace impl
} // namespace orvane::data
