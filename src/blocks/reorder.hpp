// From the row-major order of nested values and of most foreign buffers to the column-major order of arrays.
#pragma once

#include <cstddef>
#include <span>

namespace orvane::python {

/// What happens to the elements on the way.
enum class Transfer {
    Bytewise,   ///< nothing
    TruthValues ///< each one-byte element becomes 1, or 0 if it was 0
};

/// Copies `count` elements of `elementSize` bytes in the order in which they stand.
void copyInOrder(void* target, const void* source, std::size_t count, std::size_t elementSize, Transfer transfer);

/// Copies elements of 1, 2, 4, 8 or 16 bytes from row-major to column-major order, in one pass. `dims` may hold any
/// number of extents, none of them 0. The source needs no alignment; the target is aligned to its elements. They
/// do not overlap. Throws `std::bad_alloc` only for an outlandish number of dimensions.
void reorderToColumnMajor(void* target, const void* source, std::span<const std::size_t> dims, std::size_t elementSize,
                          Transfer transfer);

} // namespace orvane::python
