// Functions that take and return typed arrays, for a binding library to bind; its casters are included before this.
#pragma once

#include <complex>
#include <cstdint>
#include <string_view>
#include <utility>
#include <variant>

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

/// `take` makes an `Object` of a new reference.
template <class Object, class Module>
void defineFunctions(Module& module, Object (*take)(PyObject*)) {
    module.def("doubled", &doubled<double>);
    module.def("doubled", &doubled<std::complex<float>>);
    module.def("sum", &sum);
    module.def("handed_back", [](orvane::data::TypedArray<double> array) { return array; });
    module.def("negated", [](orvane::data::TypedArray<bool> array) {
        for (bool& element : orvane::data::writableElementsOf(array).flat()) {
            element = !element;
        }
        return array;
    });
    // What fails inside a function, by the name of the fault.
    module.def("fails", [](const char* fault, Object object) {
        const std::string_view name(fault);
        if (name == "typed") {
            orvane::python::copyFromPython<double>(object.ptr());
        } else if (name == "any") {
            orvane::python::anyFromPython(object.ptr());
        } else if (name == "own") {
            PyErr_SetString(PyExc_BufferError, "of the client's own");
            throw orvane::python::PythonError();
        }
        orvane::data::ArrayFactory().createArray<double>({1UL << 58, 1}); // "memory"
    });
    // Any array, through a visitor; an array of either kind, through a variant.
    module.def("copy_of_any", [take](Object object) {
        orvane::python::Reference copy =
            orvane::data::apply_numeric_visitor(orvane::python::anyFromPython(object.ptr()), [](auto array) {
                static_cast<void>(orvane::data::elementsOf(array));
                return orvane::python::toPython(std::move(array));
            });
        return take(copy.release());
    });
    module.def("length", [](const orvane::data::TypedArray<std::complex<std::int64_t>>& array) {
        return array.getNumberOfElements();
    });
    using Either = std::variant<orvane::data::TypedArray<double>, orvane::data::TypedArray<std::complex<double>>>;
    module.def("elements_of_either", [](const Either& either) {
        return std::visit([](const auto& array) { return array.getNumberOfElements(); }, either);
    });
}
