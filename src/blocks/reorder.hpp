// From the row-major order of nested values and of most foreign buffers to the column-major order of arrays.
#pragma once

#include <cstddef>
#include <span>

#include "vocabulary/caller_code.hpp"

namespace orvane::python {

/// What happens to the elements on the way.
enum class Transfer {
    Bytewise,   ///< nothing
    TruthValues ///< each one-byte element becomes 1, or 0 if it was 0
};

/// Copies `count` elements of `elementSize` bytes in the order in which they stand. A watch has signals answered on the
/// way, for which source and target have to stay whatever their handlers do; false with an error set when one of them
/// has raised it.
bool copyInOrder(void* target, const void* source, std::size_t count, std::size_t elementSize, Transfer transfer,
                 PlainItemsWatch* watch = nullptr);

/// Copies elements of 1, 2, 4, 8 or 16 bytes from row-major to column-major order, in one pass. `dims` may hold any
/// number of extents, none of them 0. The source needs no alignment; the target is aligned to its elements. They
/// do not overlap. A watch as above. Throws `std::bad_alloc` only for an outlandish number of dimensions.
bool reorderToColumnMajor(void* target, const void* source, std::span<const std::size_t> dims, std::size_t elementSize,
                          Transfer transfer, PlainItemsWatch* watch = nullptr);

} // namespace orvane::python
