#include "storage.hpp"

#include "block_store.hpp"
#include "mapping.hpp"

#include <cxxabi.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace orvane::data::storage {
namespace {

/// From this size on blocks are mappings of their own, which are kept for a while when they are freed. On the heap,
/// whose top goes back to the system as soon as two such blocks are free, each new one would fetch its pages anew.
constexpr std::size_t largeSize = std::size_t{128} << 10;

/// Up to this size, `malloc` has blocks at hand for each thread, which `calloc` in older systems does not look at.
constexpr std::size_t smallSize = 1024;

alignas(blockAlignment) std::byte emptyBlock[blockAlignment];

void keepBlock(void*) {}

// ---- on the heap ----

/// Stands right in front of the elements of a block on the heap, behind the room.
struct HeapHeader {
    std::uint32_t offset;               ///< of the elements, from what malloc gave
    std::atomic<std::uint32_t> holders; ///< 2 while room and elements are freed each for itself
};

constexpr std::size_t heapFront = roomSize + sizeof(HeapHeader);
/// What comes on top of the elements: malloc aligns to max_align_t alone.
constexpr std::size_t heapOverhead = heapFront + blockAlignment - alignof(std::max_align_t);
static_assert(heapFront % alignof(std::max_align_t) == 0);

HeapHeader& heapHeaderOf(void* elements) noexcept {
    return static_cast<HeapHeader*>(elements)[-1];
}

void freeHeapBlock(void* elements) {
    HeapHeader& header = heapHeaderOf(elements);
    if (header.holders.load(std::memory_order_acquire) == 1 ||
        header.holders.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        std::free(static_cast<std::byte*>(elements) - header.offset);
    }
}

/// What malloc or calloc gave for `bytes + heapOverhead`.
Storage onHeap(void* allocated) noexcept {
    if (allocated == nullptr) {
        return Storage(nullptr, keepBlock);
    }
    std::byte* const elements = alignUp(static_cast<std::byte*>(allocated) + heapFront, blockAlignment);
    const auto offset = static_cast<std::uint32_t>(elements - static_cast<std::byte*>(allocated));
    ::new (&heapHeaderOf(elements)) HeapHeader{offset, 1};
    return Storage(elements, freeHeapBlock);
}

/// What has waited for too long is looked for at every so many blocks, since looking asks for the time.
void dropIdleBlocksNowAndThen() noexcept {
    constexpr unsigned blocksBetweenLooks = 256;
    static constinit std::atomic<unsigned> blocks = 0;
    BlockStore* const store = blockStore();
    if (store == nullptr || store->isEmpty()) {
        return;
    }
    // Counts of several threads may be lost.
    const unsigned count = blocks.load(std::memory_order_relaxed) + 1;
    blocks.store(count, std::memory_order_relaxed);
    if (count % blocksBetweenLooks == 0) {
        store->dropIdle();
    }
}

/// Allocates, if need be once more without what is kept.
template <class Allocate>
auto withAllMemory(Allocate allocate) noexcept -> decltype(allocate()) {
    auto allocated = allocate();
    if (allocated == nullptr && blockStore() != nullptr && blockStore()->dropAll()) {
        allocated = allocate();
    }
    return allocated;
}

// ---- mappings ----

void freeMapping(void* elements) {
    MappingHeader* const mapping = MappingHeader::of(elements);
    if (BlockStore* const store = blockStore()) {
        store->put(mapping);
    } else {
        unmap(mapping);
    }
}

/// A block that was in use before; null if there is none.
MappingHeader* keptMapping(std::size_t bytes) noexcept {
    BlockStore* const store = blockStore();
    if (store == nullptr || store->isEmpty()) {
        return nullptr;
    }
    store->dropIdle();
    return store->take(bytes);
}

Storage inMapping(MappingHeader* mapping) noexcept {
    return Storage(mapping != nullptr ? mapping->elements() : nullptr, freeMapping);
}

Storage newMapping(std::size_t bytes) noexcept {
    return inMapping(withAllMemory([&] { return map(bytes); }));
}

constexpr bool canBeAllocated(std::size_t bytes) noexcept {
    return bytes <= std::numeric_limits<std::ptrdiff_t>::max() - 2 * hugePageSize;
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
    // Where nothing is kept, the heap is as good, and what checks it sees the bounds of blocks.
    if (bytes >= largeSize && blockStore() != nullptr) {
        MappingHeader* const kept = keptMapping(bytes);
        if (Storage storage = kept != nullptr ? inMapping(kept) : newMapping(bytes)) {
            return storage;
        }
    }
    dropIdleBlocksNowAndThen();
    Storage storage = onHeap(withAllMemory([&] { return std::malloc(bytes + heapOverhead); }));
    if (storage && bytes >= hugePagesFrom) {
        adviseHugePages(storage.get(), bytes);
    }
    return storage;
}

Storage allocateZeroed(std::size_t bytes) noexcept {
    if (bytes <= smallSize || !canBeAllocated(bytes)) {
        Storage storage = allocate(bytes);
        if (storage) {
            std::memset(storage.get(), 0, bytes);
        }
        return storage;
    }
    if (bytes >= largeSize) {
        if (MappingHeader* const kept = keptMapping(bytes)) {
            clear(kept, bytes);
            return inMapping(kept);
        }
    }
    if (bytes >= (blockStore() != nullptr ? largeSize : hugePagesFrom)) {
        if (Storage storage = newMapping(bytes)) {
            return storage;
        }
    }
    dropIdleBlocksNowAndThen();
    return onHeap(withAllMemory([&] { return std::calloc(1, bytes + heapOverhead); }));
}

Storage adopt(void* block, detail::BufferDeleter deleter) noexcept {
    return Storage(block, deleter != nullptr ? deleter : keepBlock);
}

void* roomBefore(const Storage& storage) noexcept {
    const bool isOnHeap = storage && storage.get_deleter().deleter == freeHeapBlock;
    if (!isOnHeap || heapHeaderOf(storage.get()).holders.load(std::memory_order_acquire) != 1) {
        return nullptr;
    }
    return static_cast<std::byte*>(storage.get()) - heapFront;
}

void partFromRoom(const Storage& storage) noexcept {
    heapHeaderOf(storage.get()).holders.store(2, std::memory_order_relaxed);
}

void freeRoom(void* room) noexcept {
    freeHeapBlock(static_cast<std::byte*>(room) + heapFront);
}

} // namespace orvane::data::storage
