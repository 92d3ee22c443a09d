#include "storage.hpp"

#include <cxxabi.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <new>

namespace orvane::data::storage {
namespace {

/// From this size on memory is asked for in huge pages, where a fault brings in 2 MiB instead of 4 KiB, and a
/// zero-filled block is a mapping of its own. Other blocks live on the heap, whatever their size: its pages serve
/// again when arrays come and go.
constexpr std::size_t largeSize = std::size_t{4} << 20;
constexpr std::size_t hugePageSize = std::size_t{2} << 20;

/// Stands right in front of a block in a mapping.
struct MappingHeader {
    void* base;
    std::size_t length;
};
static_assert(sizeof(MappingHeader) <= blockAlignment);

alignas(blockAlignment) std::byte emptyBlock[blockAlignment];

void keepBlock(void*) {}

std::byte* alignUp(void* address, std::size_t alignment) noexcept {
    const auto offset = reinterpret_cast<std::uintptr_t>(address) & (alignment - 1);
    return static_cast<std::byte*>(address) + (offset == 0 ? 0 : alignment - offset);
}

void freeHeapBlock(void* block) {
    // What malloc gave stands right in front of the block.
    std::free(static_cast<void**>(block)[-1]);
}

/// The whole huge pages within a block; the ends are left to small pages. The advice may be ignored.
void adviseHugePages(std::byte* block, std::size_t bytes) noexcept {
#ifdef MADV_HUGEPAGE
    std::byte* const first = alignUp(block, hugePageSize);
    const auto skipped = static_cast<std::size_t>(first - block);
    if (bytes >= skipped + hugePageSize) {
        madvise(first, (bytes - skipped) / hugePageSize * hugePageSize, MADV_HUGEPAGE);
    }
#else
    static_cast<void>(block);
    static_cast<void>(bytes);
#endif
}

/// Aligns what malloc or calloc gave for `bytes + blockAlignment`.
Storage alignHeapBlock(void* allocated) noexcept {
    static_assert(blockAlignment >= sizeof(void*) + alignof(std::max_align_t));
    if (allocated == nullptr) {
        return Storage(nullptr, keepBlock);
    }
    // malloc aligns to max_align_t, so that the next boundary above the pointer's place is within reach.
    std::byte* const block = alignUp(static_cast<void**>(allocated) + 1, blockAlignment);
    reinterpret_cast<void**>(block)[-1] = allocated;
    return Storage(block, freeHeapBlock);
}

void freeMappedBlock(void* block) {
    const MappingHeader header = static_cast<MappingHeader*>(block)[-1];
    munmap(header.base, header.length);
}

/// A zero-filled block in a mapping of its own.
Storage map(std::size_t bytes) noexcept {
    const std::size_t length = bytes + hugePageSize + blockAlignment;
    void* const base = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (base == MAP_FAILED) {
        return Storage(nullptr, keepBlock);
    }
    std::byte* const block = alignUp(static_cast<std::byte*>(base) + blockAlignment, hugePageSize);
    adviseHugePages(block, bytes);
    ::new (block - sizeof(MappingHeader)) MappingHeader{base, length};
    return Storage(block, freeMappedBlock);
}

constexpr bool canBeAllocated(std::size_t bytes) noexcept {
    return bytes <= std::numeric_limits<std::ptrdiff_t>::max() - hugePageSize - blockAlignment;
}

} // namespace

void FreeBlock::operator()(void* block) const noexcept {
#ifdef __GLIBCXX__
    try {
        deleter(block);
    } catch (abi::__forced_unwind&) {
        while (true) {
            pause();
        }
    }
#else
    deleter(block);
#endif
}

Storage allocate(std::size_t bytes) noexcept {
    if (bytes == 0) {
        return Storage(emptyBlock, keepBlock);
    }
    if (!canBeAllocated(bytes)) {
        return Storage(nullptr, keepBlock);
    }
    Storage storage = alignHeapBlock(std::malloc(bytes + blockAlignment));
    if (storage && bytes >= largeSize) {
        adviseHugePages(static_cast<std::byte*>(storage.get()), bytes);
    }
    return storage;
}

Storage allocateZeroed(std::size_t bytes) noexcept {
    if (bytes == 0 || !canBeAllocated(bytes)) {
        return allocate(bytes);
    }
    return bytes < largeSize ? alignHeapBlock(std::calloc(1, bytes + blockAlignment)) : map(bytes);
}

Storage adopt(void* block, detail::BufferDeleter deleter) noexcept {
    return Storage(block, deleter != nullptr ? deleter : keepBlock);
}

} // namespace orvane::data::storage
