// What the targets share.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>

/// Ends the process, which libFuzzer reports with the input that led there.
inline void require(bool holds) {
    if (!holds)
        std::abort();
}

/// Where the element stands in column-major order whose place among `count` in row-major order is told.
template <class Extents>
std::size_t columnMajorPlace(std::size_t rowMajorPlace, const Extents& dims, std::size_t count) {
    std::size_t place = 0;
    for (auto extent = dims.rbegin(); extent != dims.rend(); rowMajorPlace /= *extent++)
        place += rowMajorPlace % *extent * (count /= *extent);
    return place;
}
