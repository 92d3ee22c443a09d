#include "dimensions.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <utility>

namespace orvane::data {

Dimensions& Dimensions::operator=(Dimensions&& other) noexcept {
    reset();
    if (other.areMany()) {
        m_many = other.m_many;
    } else {
        m_few = other.m_few;
    }
    m_size = std::exchange(other.m_size, 2);
    other.m_few = {};
    return *this;
}

void Dimensions::reset() noexcept {
    if (areMany()) {
        freeMany();
    }
    m_few = {};
    m_size = 2;
}

Status Dimensions::assign(std::span<const unsigned long> extents) noexcept {
    if (extents.size() <= std::tuple_size_v<Few>) {
        reset();
        m_size = extents.size();
        std::ranges::copy(extents, m_few.begin());
        return Status::Success;
    }
    // Rules out that the array new-expression throws for a length that it cannot represent.
    if (extents.size() > std::numeric_limits<std::ptrdiff_t>::max() / sizeof(unsigned long)) {
        return Status::OutOfMemory;
    }
    std::unique_ptr<unsigned long[]> many(new (std::nothrow) unsigned long[extents.size()]);
    if (!many) {
        return Status::OutOfMemory;
    }
    std::ranges::copy(extents, many.get());
    reset();
    m_many = many.release();
    m_size = extents.size();
    return Status::Success;
}

Status countElements(std::span<const unsigned long> extents, std::size_t elementSize, std::size_t& count) noexcept {
    if (std::ranges::find(extents, 0UL) != extents.end()) {
        count = 0;
        return Status::Success;
    }
    std::int64_t product = 1;
    for (const unsigned long extent : extents) {
        if (__builtin_mul_overflow(product, extent, &product)) {
            return Status::TooManyElements;
        }
    }
    std::int64_t bytes = 0;
    if (__builtin_mul_overflow(product, elementSize, &bytes)) {
        return Status::TooManyElements;
    }
    count = static_cast<std::size_t>(product);
    return Status::Success;
}

} // namespace orvane::data
