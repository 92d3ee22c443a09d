// Blocks that are mappings of their own.
#pragma once

#include <cstddef>

namespace orvane::data::storage {

/// Stands right in front of the elements of a block that is a mapping.
struct MappingHeader {
    void* base;
    std::size_t length;
    std::size_t capacity; ///< bytes that elements may take

    void* elements() noexcept { return this + 1; }
    static MappingHeader* of(void* elements) noexcept { return static_cast<MappingHeader*>(elements) - 1; }
};

/// From this size on, where a block is sure to hold a whole huge page, mappings lie in such pages: a fault brings in 2
/// MiB instead of 4 KiB.
inline constexpr std::size_t hugePagesFrom = std::size_t{4} << 20;
inline constexpr std::size_t hugePageSize = std::size_t{2} << 20;

/// A mapping with room for so many bytes, aligned to `blockAlignment`, which are zero. Null for want of memory.
MappingHeader* map(std::size_t bytes) noexcept;
void unmap(MappingHeader* mapping) noexcept;

/// Has the first `bytes` of a mapping that was in use read as zeros again.
void clear(MappingHeader* mapping, std::size_t bytes) noexcept;

/// The whole huge pages within a block; the ends are left to small pages. The advice may be ignored.
void adviseHugePages(void* block, std::size_t bytes) noexcept;

} // namespace orvane::data::storage
