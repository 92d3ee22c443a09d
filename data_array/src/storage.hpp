// Blocks of element storage.
#pragma once

#include <orvane_data_array/boundary.hpp>

#include <cstddef>
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

/// A block with unspecified contents, or null for want of memory. Nothing is allocated for 0 bytes: all
/// empty blocks are one.
Storage allocate(std::size_t bytes) noexcept;

/// The same, zero-filled. Memory that comes fresh from the system is not passed over again.
Storage allocateZeroed(std::size_t bytes) noexcept;

/// Takes over a caller's block. Without a deleter the block stays the caller's to free.
Storage adopt(void* block, detail::BufferDeleter deleter) noexcept;

} // namespace orvane::data::storage
