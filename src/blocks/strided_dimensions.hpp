// Dimensions of two blocks that are gone through together.
#pragma once

#include <cstddef>
#include <span>

#include "vocabulary/extents.hpp"

namespace orvane::python {

/// One dimension with its distances, in bytes or elements, in the block that is read and in the one that is written.
template <class Integer>
struct StridedDimension {
    Integer extent;
    Integer sourceStride;
    Integer targetStride;
};

/// Calls `visit(sourceOffset, targetOffset)` for each position in the dimensions, the first of them fastest, for as
/// long as that is true; whether it was to the end.
template <class Integer, class Visit>
bool visitPositions(std::span<const StridedDimension<Integer>> dimensions, Visit&& visit) {
    DimensionVector<Integer> places(dimensions.size(), 0);
    Integer source = 0;
    Integer target = 0;
    while (visit(source, target)) {
        std::size_t d = 0;
        for (; d < dimensions.size(); ++d) {
            source += dimensions[d].sourceStride;
            target += dimensions[d].targetStride;
            if (++places[d] < dimensions[d].extent)
                break;
            source -= dimensions[d].extent * dimensions[d].sourceStride;
            target -= dimensions[d].extent * dimensions[d].targetStride;
            places[d] = 0;
        }
        if (d == dimensions.size())
            return true;
    }
    return false;
}

} // namespace orvane::python
