// The storage of an array: taking over a filled buffer, copying, the parting of mirror and data array.
#include <algorithm>
#include <memory>

#include "core/array_wrapper.hpp"
#include "data_client/array_factory.hpp"
#include "moved.hpp"

namespace {

using namespace orvane;
using orvane::python::ODArrayWrapper;

std::shared_ptr<ODArrayWrapper> makeWrapper(unsigned long count) {
    data::ArrayFactory factory;
    auto buffer = factory.createBuffer<double>(count);
    std::fill_n(buffer.get(), count, 1.5);
    return ODArrayWrapper::adopt(
        factory.createArrayFromBuffer<double>({1, count}, std::move(buffer), data::MemoryLayout::ColumnMajor));
}

/// An array of one element, with all that stands around it.
void makeSmallArray(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(makeWrapper(1));
}
BENCHMARK(makeSmallArray)->Name("storage/make 1x1");

void copyStorage(benchmark::State& state) {
    const auto count = static_cast<unsigned long>(state.range(0));
    data::ArrayFactory factory;
    auto buffer = factory.createBuffer<double>(count);
    std::fill_n(buffer.get(), count, 1.5);
    const data::Array source =
        factory.createArrayFromBuffer<double>({1, count}, std::move(buffer), data::MemoryLayout::ColumnMajor);
    const python::Layout layout(source.getDimensions(), static_cast<long>(count), sizeof(double));
    for (auto _ : state)
        benchmark::DoNotOptimize(python::copyElements(source, layout));
    bench::tellMoved(state, count * sizeof(double));
}
BENCHMARK(copyStorage)->Name("storage/copy")->Arg(1000)->Arg(1'000'000);

void handOutFirst(benchmark::State& state) {
    const auto count = static_cast<unsigned long>(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        auto wrapper = makeWrapper(count);
        state.ResumeTiming();
        benchmark::DoNotOptimize(wrapper->handOut());
        state.PauseTiming();
        wrapper.reset();
        state.ResumeTiming();
    }
    bench::tellMoved(state, count * sizeof(double));
}
BENCHMARK(handOutFirst)->Name("mirror/first hand-out")->Arg(1'000'000);

void handOutAgain(benchmark::State& state) {
    const auto wrapper = makeWrapper(static_cast<unsigned long>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(wrapper->handOut());
}
BENCHMARK(handOutAgain)->Name("mirror/hand-out again")->Arg(1000)->Arg(1'000'000);

const bool isCompared = (bench::compareWithCopy(1'000'000 * sizeof(double)), true);

} // namespace
