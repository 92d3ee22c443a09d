// What native modules do with an array that comes and goes: the same work for arrays of ours and of the binding
// libraries' own, bound by each library in turn. Its header of Orvane's is included before this.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>

namespace roads {

using orvane::data::ColumnMajorSpan, orvane::data::TypedArray;

// The work itself is the same machine code for all: inlined, a loop would be compiled anew for each, and as fast as the
// compiler's guess about what overlaps.

[[gnu::noinline]] inline void fill(double* target, std::size_t count) {
    std::fill_n(target, count, 0.5);
}

[[gnu::noinline]] inline void halve(double* elements, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        elements[i] /= 2;
}

[[gnu::noinline]] inline void halveTo(double* target, const double* first, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        target[i] = first[i] / 2;
}

/// A new array whose elements `fill` writes, without zeros first.
template <class Fill>
TypedArray<double> newArray(std::size_t rows, std::size_t columns, Fill fill) {
    orvane::data::ArrayFactory factory;
    auto block = factory.createBuffer<double>(rows * columns);
    fill(block.get());
    return factory.createArrayFromBuffer<double>({rows, columns}, std::move(block));
}

template <class Module>
void defineOurs(Module& module) {
    module.def("way_in", [](const ColumnMajorSpan<const double, 2>& matrix) { return matrix(0, 0); });
    module.def("way_in_any_rank", [](const ColumnMajorSpan<const double>& array) { return array(0, 0); });
    module.def("out", [](std::size_t rows, std::size_t columns) {
        return newArray(rows, columns, [&](double* block) { fill(block, rows * columns); });
    });
    module.def("identity", [](orvane::python::ArrayObject<double> array) { return array; });
    module.def("halve", [](const ColumnMajorSpan<double, 2>& matrix) { halve(matrix.flat().data(), matrix.size()); });
    module.def("halved", [](const ColumnMajorSpan<const double, 2>& matrix) {
        return newArray(matrix.extent(0), matrix.extent(1),
                        [&](double* block) { halveTo(block, matrix.flat().data(), matrix.size()); });
    });
    module.def("halved_copy", [](orvane::python::OwnCopy<double> array) {
        const auto elements = orvane::data::writableElementsOf(array).flat();
        halve(elements.data(), elements.size());
        return array;
    });
}

} // namespace roads
