// The physical limit that the other benchmarks are set beside.
#include <cstring>
#include <vector>

#include "moved.hpp"

namespace {

void copyBytes(benchmark::State& state) {
    const auto bytes = static_cast<std::size_t>(state.range(0));
    const std::vector<char> source(bytes, 'x');
    std::vector<char> target(bytes, 'y');
    for (auto _ : state) {
        std::memcpy(target.data(), source.data(), bytes);
        benchmark::ClobberMemory();
    }
    orvane::bench::tellMoved(state, bytes);
}

BENCHMARK(copyBytes)->Name("memcpy")->Arg(1'000'000)->Arg(4'000'000)->Arg(8'000'000)->Arg(16'000'000)->Arg(24'000'000);

} // namespace
