// Row-major to column-major order.
#include <numeric>
#include <string>
#include <vector>

#include "blocks/reorder.hpp"
#include "moved.hpp"

namespace {

using orvane::python::Transfer;
using Extents = std::vector<std::size_t>;

std::size_t bytesOf(const Extents& extents, std::size_t elementSize) {
    return std::accumulate(extents.begin(), extents.end(), elementSize, std::multiplies<std::size_t>());
}

void reorder(benchmark::State& state, const Extents& extents, std::size_t elementSize) {
    const std::size_t bytes = bytesOf(extents, elementSize);
    const std::vector<char> source(bytes, 'x');
    std::vector<char> target(bytes, 'y');
    for (auto _ : state) {
        orvane::python::reorderToColumnMajor(target.data(), source.data(), extents, elementSize, Transfer::Bytewise);
        benchmark::ClobberMemory();
    }
    orvane::bench::tellMoved(state, bytes);
}

std::string nameOf(const Extents& extents, std::size_t elementSize) {
    std::string name = "reorder/" + std::to_string(elementSize) + " bytes";
    for (std::size_t i = 0; i < extents.size(); ++i)
        name += (i == 0 ? "/" : "x") + std::to_string(extents[i]);
    return name;
}

const bool areRegistered = [] {
    const auto add = [](const Extents& extents, std::size_t elementSize) {
        orvane::bench::compareWithCopy(bytesOf(extents, elementSize));
        benchmark::RegisterBenchmark(nameOf(extents, elementSize).c_str(),
                                     [=](benchmark::State& state) { reorder(state, extents, elementSize); });
    };
    for (const std::size_t elementSize : {1, 4, 8, 16})
        add({1000, 1000}, elementSize);
    add({100, 100, 100}, 8);
    add({10, 10, 10, 10, 10, 10}, 8);
    add({1'000'000, 3}, 8);
    add({3, 1'000'000}, 8);
    // From what a core's own caches hold to what hardly any holds: no size and no power of two may stand out.
    for (const std::size_t side : {256, 362, 512, 724, 1024, 1448, 2048, 2896})
        add({side, side}, 8);
    return true;
}();

} // namespace
