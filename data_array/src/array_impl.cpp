#include "array_impl.hpp"

#include <cstring>
#include <new>
#include <utility>

namespace orvane::data {

std::int32_t detail::IteratorImpl::arrayType() const noexcept {
    return m_array.arrayType();
}

std::byte* detail::IteratorImpl::element() const noexcept {
    return m_place == Place::Begin ? m_array.data() : m_array.data() + m_array.numBytes();
}

namespace impl {

ArrayImpl::ArrayImpl(std::int32_t arrayType, Dimensions dimensions, std::size_t numElements, MemoryLayout layout,
                     storage::Storage storage) noexcept
    : m_arrayType(arrayType), m_layout(layout), m_dimensions(std::move(dimensions)), m_numElements(numElements),
      m_storage(std::move(storage)) {}

std::unique_ptr<ArrayImpl> ArrayImpl::copy() const noexcept {
    Dimensions dimensions;
    if (dimensions.assign(m_dimensions.extents()) != Status::Success) {
        return nullptr;
    }
    storage::Storage storage = copyStorage();
    if (!storage) {
        return nullptr;
    }
    return std::unique_ptr<ArrayImpl>(
        new (std::nothrow) ArrayImpl(m_arrayType, std::move(dimensions), m_numElements, m_layout, std::move(storage)));
}

storage::Storage ArrayImpl::copyStorage() const noexcept {
    storage::Storage storage = storage::allocate(numBytes());
    if (storage && numBytes() != 0) {
        std::memcpy(storage.get(), m_storage.get(), numBytes());
    }
    return storage;
}

storage::Storage ArrayImpl::takeStorage() noexcept {
    m_dimensions = Dimensions();
    m_numElements = 0;
    return std::exchange(m_storage, storage::allocate(0));
}

} // namespace impl
} // namespace orvane::data
