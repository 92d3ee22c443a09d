#include "array_impl.hpp"

#include <cstring>
#include <new>
#include <utility>

namespace orvane::data {

impl::ArrayImpl& detail::IteratorImpl::array() noexcept {
    return m_place == Place::Begin ? static_cast<impl::ArrayImpl&>(static_cast<BeginOfArray&>(*this))
                                   : static_cast<impl::ArrayImpl&>(static_cast<EndOfArray&>(*this));
}

std::int32_t detail::IteratorImpl::arrayType() noexcept {
    return array().arrayType();
}

std::byte* detail::IteratorImpl::element() noexcept {
    return m_place == Place::Begin ? array().data() : array().data() + array().numBytes();
}

namespace impl {

static_assert(sizeof(ArrayImpl) <= storage::roomSize && alignof(ArrayImpl) <= storage::roomAlignment);

auto ArrayImpl::make(std::int32_t arrayType, Dimensions&& dimensions, std::size_t numElements,
                     storage::Storage&& storage) noexcept -> Owner {
    void* const room = storage::roomBefore(storage);
    void* const place = room != nullptr ? room : ::operator new(sizeof(ArrayImpl), std::nothrow);
    if (place == nullptr) {
        return nullptr;
    }
    Owner array(::new (place) ArrayImpl(arrayType, std::move(dimensions), numElements, std::move(storage)));
    array->m_isInRoom = room != nullptr;
    return array;
}

void ArrayImpl::Destroy::operator()(ArrayImpl* array) const noexcept {
    if (!array->m_isInRoom) {
        delete array;
        return;
    }
    // Either these are the elements behind the room, which go with it, or they have been given away.
    static_cast<void>(array->m_storage.release());
    std::destroy_at(array);
    storage::freeRoom(array);
}

auto ArrayImpl::copy() const noexcept -> Owner {
    Dimensions dimensions;
    if (dimensions.assign(m_dimensions.extents()) != Status::Success) {
        return nullptr;
    }
    storage::Storage storage = copyStorage();
    return storage ? make(m_arrayType, std::move(dimensions), m_numElements, std::move(storage)) : nullptr;
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
    if (storage::roomBefore(m_storage) == this) {
        storage::partFromRoom(m_storage);
    }
    return std::exchange(m_storage, storage::allocate(0));
}

} // namespace impl
} // namespace orvane::data
