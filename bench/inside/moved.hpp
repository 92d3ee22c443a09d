// Says how many bytes a benchmark moves, so that it can be set beside `memcpy` of as many.
#pragma once

#include <cstddef>
#include <cstdint>

#include <benchmark/benchmark.h>

namespace orvane::bench {

/// Has `memcpy` of so many bytes measured as well, once for all who ask.
void compareWithCopy(std::size_t bytes);

/// To be called when the loop is over; `bytes` are those of one iteration.
inline void tellMoved(benchmark::State& state, std::size_t bytes) {
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * static_cast<std::int64_t>(state.iterations()));
    state.counters["moved"] = static_cast<double>(bytes);
}

} // namespace orvane::bench
