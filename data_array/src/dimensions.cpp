#include "dimensions.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <utility>

namespace orvane::data {

Status Dimensions::assign(std::span<const unsigned long> extents) noexcept {
    std::unique_ptr<unsigned long[]> many;
    if (extents.size() > m_few.size()) {
        // Rules out that the array new-expression throws for a length that it cannot represent.
        if (extents.size() > std::numeric_limits<std::ptrdiff_t>::max() / sizeof(unsigned long)) {
            return Status::OutOfMemory;
        }
        many.reset(new (std::nothrow) unsigned long[extents.size()]);
        if (!many) {
            return Status::OutOfMemory;
        }
    }
    m_many = std::move(many);
    m_size = extents.size();
    std::ranges::copy(extents, data());
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
