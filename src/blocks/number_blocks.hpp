// Numbers of any element type in any number of dimensions, read into elements of one.
#pragma once

#include <cstddef>
#include <span>

#include "blocks/number_runs.hpp"

namespace orvane::python {

/// A regular block of numbers: `counts[i]` steps of `strides[i]` bytes along each dimension. There is at least one
/// dimension, and no count is 0.
struct StridedNumbers {
    NumberRun first; ///< where the first item is, and of what kind all are; a progression has one dimension
    std::span<const long> counts;
    std::span<const long> strides;

    long elementCount() const noexcept;
};

/// Where elements go: by byte strides for each dimension, as many as what is read has.
struct StridedElements {
    std::byte* address;
    std::span<const long> strides;
    std::byte* again = nullptr; ///< where all of them go a second time, or null
};

/// Stores every item at the same indices of the target. False as soon as one is seen not to fit; the target is then
/// partly filled. Neither side needs to be aligned, and they do not overlap. Throws `std::bad_alloc` only for many
/// dimensions.
bool readBlock(const StridedNumbers& source, const StridedElements& target, const ElementWriter& writer);

/// Stores row i, of `count` items as all rows are, as row i of a matrix: so that its elements lie `columnStride` bytes
/// from each other, and those of the rows beside it right before and behind them.
bool readRows(std::span<const NumberRun> rows, long count, std::byte* target, long columnStride,
              const ElementWriter& writer);

} // namespace orvane::python
