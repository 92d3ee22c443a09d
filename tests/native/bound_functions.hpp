// Functions that take and return typed arrays, for a binding library to bind; its casters are included before this.
#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
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
    // Elements in place, and a copy of the function's own.
    using orvane::data::ColumnMajorSpan;
    using Complex = std::complex<double>;
    module.def("halve", [](const ColumnMajorSpan<double, 3>& span, bool fails) {
        for (std::size_t place = 0; place < span.size(); ++place) {
            const std::size_t rest = place / span.extent(0);
            span(place % span.extent(0), rest % span.extent(1), rest / span.extent(1)) /= 2;
        }
        if (fails) {
            throw std::runtime_error("after the work");
        }
    });
    module.def("kind_of", [](ColumnMajorSpan<const double, 2>) { return "real matrix"; });
    module.def("kind_of", [](ColumnMajorSpan<const Complex>) { return "complex"; });
    module.def("kind_of", [](Object) { return "other"; });
    using EitherSpan = std::variant<ColumnMajorSpan<const double>, ColumnMajorSpan<const Complex, 2>>;
    module.def("first_of_either", [](const EitherSpan& either) {
        return std::visit([](const auto& span) { return Complex(span(0, 0)); }, either);
    });
    module.def("halved", [](orvane::python::OwnCopy<double> array) {
        for (double& element : orvane::data::writableElementsOf(array).flat()) {
            element /= 2;
        }
        return array;
    });
}
