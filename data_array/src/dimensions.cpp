#include "dimensions.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <utility>

namespace orvane::data {

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
    std::size_t product = 1;
    std::size_t bytes = 0;
    bool isEmpty = false;
    bool overflows = false;
    for (const unsigned long extent : extents) {
        isEmpty |= extent == 0;
        overflows |= __builtin_mul_overflow(product, extent, &product);
    }
    overflows |= __builtin_mul_overflow(product, elementSize, &bytes);
    if (isEmpty) {
        count = 0;
        return Status::Success;
    }
    if (overflows || bytes > static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max())) {
        return Status::TooManyElements;
    }
    count = product;
    return Status::Success;
}

} // namespace orvane::data
