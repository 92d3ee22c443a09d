// Elements as Python numbers.
#pragma once

#include <Python.h>

#include <complex>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <utility>

#include "core/element_access.hpp"

namespace orvane::python {

namespace detail {

/// The Python numbers of all `int8` elements, each kept once it was made. The interpreter does so from -5 upward only,
/// and making an integer takes longer than all else there is to reading one.
inline constinit PyObject* int8Numbers[256] = {};

inline PyObject* int8Number(std::int8_t element) {
    PyObject*& number = int8Numbers[element - std::numeric_limits<std::int8_t>::min()];
    if (number == nullptr)
        number = PyLong_FromLong(element);
    return Py_XNewRef(number);
}

} // namespace detail

/// The Python number of one element: `float`, `int` or `bool`, and `complex` for all complex elements, whose parts
/// go through doubles. New reference, or null with an error set.
template <class T>
PyObject* toPyObject(const T& element) {
    if constexpr (isComplexElement<T>)
        return PyComplex_FromDoubles(static_cast<double>(element.real()), static_cast<double>(element.imag()));
    else if constexpr (std::is_same_v<T, bool>)
        return PyBool_FromLong(element);
    else if constexpr (std::is_same_v<T, std::int8_t>)
        return detail::int8Number(element);
    else if constexpr (std::is_floating_point_v<T>)
        return PyFloat_FromDouble(static_cast<double>(element));
    else if constexpr (std::in_range<long>(std::numeric_limits<T>::max()))
        return PyLong_FromLong(element); // of all ways the one that the interpreter has made short for small numbers
    else
        return PyLong_FromUnsignedLong(element);
}

/// The element at one index per dimension, from the first on (missing ones count as 0), as a Python number. A
/// place outside the storage, which only a reshape can bring about, is an IndexError that names the last index.
template <class T, class Indices>
PyObject* elementObjectAt(const ODArrayWrapper& wrapper, const Indices& indices) {
    const auto offset = wrapper.layout()->byteOffset(indices);
    if (!offset) {
        PyErr_Format(PyExc_IndexError, "index has an invalid value: %ld", indices.back());
        return nullptr;
    }
    return toPyObject(loadElement<T>(wrapper.elements() + *offset));
}

} // namespace orvane::python
