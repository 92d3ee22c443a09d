// Buffers whose frees are counted.
#pragma once

#include <cstdlib>

/// Counts how often `countedFree` ran, over all buffers of a test.
inline int freedBuffers = 0;

inline void countedFree(void* block) {
    ++freedBuffers;
    std::free(block);
}
