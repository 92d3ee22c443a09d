// Column-major spans and handles, without Python: exits with 0 when all is as it should be.
#include <orvane/data.hpp>

#include <cstdlib>
#include <iostream>
#include <ranges>
#include <type_traits>

namespace {

using namespace orvane::data;

// Loops over handles only read.
static_assert(std::ranges::contiguous_range<const TypedArray<double>>);
static_assert(!std::ranges::range<TypedArray<double>&> && std::is_default_constructible_v<CharArray>);

void require(bool holds, const char* claim) {
    if (!holds) {
        std::cerr << "WRONG: " << claim << '\n';
        std::exit(1);
    }
}

TypedArray<double> numbered(std::vector<unsigned long> dims) {
    ArrayFactory factory;
    TypedArray<double> array = factory.createArray<double>(std::move(dims));
    double next = 0;
    for (double& element : writableElementsOf(array).flat()) {
        element = next++;
    }
    return array;
}

void spans() {
    TypedArray<double> array = numbered({2, 3, 4});
    const auto elements = elementsOf(array);
    require(elements.rank() == 3 && elements.size() == 24, "rank and size");
    require(elements.extents() == std::vector<std::size_t>{2, 3, 4}, "extents");
    require(elements.strides() == std::vector<std::ptrdiff_t>{1, 2, 6}, "strides");
    require(elements(1, 2, 3) == 23 && elements(1, 0) == 1 && elements(0, 1, 1) == 8, "subscripts");
    require(elements.extent(3) == 1 && elements(1, 2, 3, 0) == 23, "dimensions that were dropped");
    require(elements.column(2).front() == 4 && elements.column(2).size() == 2, "columns");

    const TypedArray<double> other = array;
    writableElementsOf(array)(1, 2, 3) = -1;
    require(elementsOf(other)(1, 2, 3) == 23, "writing leaves those alone who share");
    const TypedArray<double> empty = numbered({0, 3});
    require(elementsOf(empty).size() == 0, "no elements");

#ifdef __cpp_lib_mdspan
    const auto view = elementsOf(other).toMdspan<4>();
    require(view.extent(1) == 3 && view.extent(3) == 1 && view.stride(2) == 6, "mdspan");
    require(&view[std::array<std::size_t, 4>{1, 2, 3, 0}] == &elementsOf(other)(1, 2, 3), "subscripts of an mdspan");
#endif
}

} // namespace

int main() {
    spans();
}
