// Blocks of element storage.
#pragma once

#include <orvane_data_array/boundary.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace orvane::data::storage {

/// Frees a block in the way that came with it, which may be a client's own. A thread that is ended in there, its stack
/// unwound as if by an exception (by `pthread_exit`, as some interpreters do when they shut down), sleeps from then on:
/// arrays go in destructors, through which no unwinding passes.
struct FreeBlock {
    FreeBlock(detail::BufferDeleter blockDeleter) noexcept : deleter(blockDeleter) {}
    void operator()(void* block) const noexcept;

    detail::BufferDeleter deleter;
};

/// The owner of a block together with the way to free it. Null only where memory was wanting, after a
/// release, or around a null pointer of a caller's.
using Storage = std::unique_ptr<void, FreeBlock>;

/// Blocks are aligned for the widest vector registers and to the cache line.
inline constexpr std::size_t blockAlignment = 64;

inline std::byte* alignUp(void* address, std::size_t alignment) noexcept {
    const auto offset = reinterpret_cast<std::uintptr_t>(address) & (alignment - 1);
    return static_cast<std::byte*>(address) + (offset == 0 ? 0 : alignment - offset);
}

/// A block with unspecified contents, or null for want of memory. Nothing is allocated for 0 bytes: all
/// empty blocks are one. Large blocks that were freed serve again for a while.
Storage allocate(std::size_t bytes) noexcept;

/// The same, zero-filled. Memory that comes fresh from the system is not passed over again.
Storage allocateZeroed(std::size_t bytes) noexcept;

/// Takes over a caller's block. Without a deleter the block stays the caller's to free.
Storage adopt(void* block, detail::BufferDeleter deleter) noexcept;

// ---- the room in front of elements on the heap ----
//
// The memory that aligns a block has room for what describes it, so that a small array is one allocation.

inline constexpr std::size_t roomSize = 72;
inline constexpr std::size_t roomAlignment = 8;

/// The room of a block on the heap, which goes with the block. Null for all other blocks, and as long as the array that
/// has given the block away stands in the room.
void* roomBefore(const Storage& storage) noexcept;
/// From now on, room and elements are each freed for itself, by `freeRoom` and as any block, and the memory goes with
/// the last of the two.
void partFromRoom(const Storage& storage) noexcept;
void freeRoom(void* room) noexcept;

} // namespace orvane::data::storage
