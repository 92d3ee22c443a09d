#include "mapping.hpp"

#include "storage.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <new>

namespace orvane::data::storage {
namespace {

static_assert(sizeof(MappingHeader) <= blockAlignment);

constexpr std::size_t smallPageSize = 4096;

} // namespace

MappingHeader* map(std::size_t bytes) noexcept {
    const bool inHugePages = bytes >= hugePagesFrom;
    const std::size_t alignment = inHugePages ? hugePageSize : blockAlignment;
    const std::size_t capacity = (bytes + smallPageSize - 1) / smallPageSize * smallPageSize;
    const std::size_t length = capacity + blockAlignment + (inHugePages ? hugePageSize : 0);
    void* const base = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (base == MAP_FAILED) {
        return nullptr;
    }
    std::byte* const elements = alignUp(static_cast<std::byte*>(base) + sizeof(MappingHeader), alignment);
    if (inHugePages) {
        adviseHugePages(elements, bytes);
    }
    return ::new (MappingHeader::of(elements)) MappingHeader{base, length, capacity};
}

void unmap(MappingHeader* mapping) noexcept {
    munmap(mapping->base, mapping->length);
}

void clear(MappingHeader* mapping, std::size_t bytes) noexcept {
    auto* const elements = static_cast<std::byte*>(mapping->elements());
    // Where elements are large they need not be touched all: then pages of zeros are had as from a new mapping.
    // Otherwise faults, one a page, would cost more than writing does.
    if (bytes < hugePagesFrom || madvise(elements, bytes, MADV_DONTNEED) != 0) {
        std::memset(elements, 0, bytes);
    }
}

void adviseHugePages(void* block, std::size_t bytes) noexcept {
#ifdef MADV_HUGEPAGE
    std::byte* const first = alignUp(block, hugePageSize);
    const auto skipped = static_cast<std::size_t>(first - static_cast<std::byte*>(block));
    if (bytes >= skipped + hugePageSize) {
        madvise(first, (bytes - skipped) / hugePageSize * hugePageSize, MADV_HUGEPAGE);
    }
#else
    static_cast<void>(block);
    static_cast<void>(bytes);
#endif
}

} // namespace orvane::data::storage
