// Index chains: what a subscript costs beside the Python object that it makes.
#include <array>
#include <memory>

#include "core/index_chain.hpp"
#include "core/selection.hpp"
#include "moved.hpp"

namespace {

using namespace orvane::python;

IndexChain chainOf(long integers) {
    IndexChain chain;
    for (long i = 0; i < integers; ++i)
        chain = chain.withFixed(i);
    return chain;
}

void lengthenChain(benchmark::State& state) {
    const IndexChain chain = chainOf(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(chain.withFixed(7));
}
// Three integers and one more are what a chain holds in place; beyond, it takes memory of its own.
BENCHMARK(lengthenChain)->Name("chain/one more integer on")->Arg(0)->Arg(3)->Arg(8);

void narrowChain(benchmark::State& state) {
    const IndexChain chain = chainOf(1).narrowed({10, 2, 40});
    for (auto _ : state)
        benchmark::DoNotOptimize(chain.narrowed({5, 3, 8}));
}
BENCHMARK(narrowChain)->Name("chain/slice of a slice");

void selectFromChain(benchmark::State& state) {
    const std::array<long, 3> extents{10, 10, 10};
    const auto layout = std::make_shared<const Layout>(extents, 1000, 8);
    const IndexChain chain = chainOf(1);
    for (auto _ : state)
        benchmark::DoNotOptimize(select(layout, chain.integers(), nullptr));
}
BENCHMARK(selectFromChain)->Name("chain/selection");

} // namespace
