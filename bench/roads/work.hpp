// What native modules do with an array that comes and goes: the same work for arrays of ours and of the binding
// libraries' own, bound by each library in turn. Its header of Orvane's is included before this.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>

namespace roads {

using orvane::data::ColumnMajorSpan, orvane::data::TypedArray;

inline void halve(const double* first, std::size_t count, double* target) {
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
        return newArray(rows, columns, [&](double* block) { std::fill_n(block, rows * columns, 0.5); });
    });
    module.def("identity", [](orvane::python::ArrayObject<double> array) { return array; });
    module.def("halve", [](const ColumnMajorSpan<double, 2>& matrix) {
        halve(matrix.flat().data(), matrix.size(), matrix.data());
    });
    module.def("halved", [](const ColumnMajorSpan<const double, 2>& matrix) {
        return newArray(matrix.extent(0), matrix.extent(1),
                        [&](double* block) { halve(matrix.flat().data(), matrix.size(), block); });
    });
    module.def("halved_copy", [](orvane::python::OwnCopy<double> array) {
        const auto elements = orvane::data::writableElementsOf(array).flat();
        halve(elements.data(), elements.size(), elements.data());
        return array;
    });
}

} // namespace roads
