// Functions that take and return typed arrays, for a binding library to bind; its casters are included before this.
#pragma once

#include <complex>

template <class T>
orvane::data::TypedArray<T> doubled(orvane::data::TypedArray<T> array) {
    for (T& element : orvane::data::writableElementsOf(array).flat()) {
        element += element;
    }
    return array;
}

inline double sum(const orvane::data::TypedArray<double>& array) {
    double total = 0;
    for (const double element : array) {
        total += element;
    }
    return total;
}

template <class Module>
void defineFunctions(Module& module) {
    module.def("doubled", &doubled<double>);
    module.def("doubled", &doubled<std::complex<float>>);
    module.def("sum", &sum);
    module.def("handed_back", [](orvane::data::TypedArray<double> array) { return array; });
    module.def("negated", [](orvane::data::TypedArray<bool> array) {
        for (bool& element : array) {
            element = !element;
        }
        return array;
    });
}
