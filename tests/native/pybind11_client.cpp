// Bound functions that take and return typed arrays.
#include <orvane/pybind11.hpp>

#include <complex>

using orvane::data::TypedArray;

namespace {

template <class T>
TypedArray<T> doubled(TypedArray<T> array) {
    for (T& element : orvane::data::writableElementsOf(array).flat()) {
        element += element;
    }
    return array;
}

double sum(const TypedArray<double>& array) {
    double total = 0;
    for (const double element : array) {
        total += element;
    }
    return total;
}

} // namespace

PYBIND11_MODULE(pybind11_client, module) {
    module.def("doubled", &doubled<double>);
    module.def("doubled", &doubled<std::complex<float>>);
    module.def("sum", &sum);
    module.def("negated", [](TypedArray<bool> array) {
        for (bool& element : array) {
            element = !element;
        }
        return array;
    });
}
