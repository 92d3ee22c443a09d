// The physical limit that the other benchmarks are set beside.
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "moved.hpp"

namespace {

void copyBytes(benchmark::State& state, std::size_t bytes) {
    const std::vector<char> source(bytes, 'x');
    std::vector<char> target(bytes, 'y');
    for (auto _ : state) {
        std::memcpy(target.data(), source.data(), bytes);
        benchmark::ClobberMemory();
    }
    orvane::bench::tellMoved(state, bytes);
}

} // namespace

void orvane::bench::compareWithCopy(std::size_t bytes) {
    static std::set<std::size_t> known;
    if (!known.insert(bytes).second)
        return;
    std::string name = "memcpy/";
    name += std::to_string(bytes);
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) { copyBytes(state, bytes); });
}
