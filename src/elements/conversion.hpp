// How one Python value becomes one element. What a type accepts, and in which words it refuses, stands here only.
#pragma once

#include <Python.h>

#include <complex>
#include <cstdint>
#include <type_traits>
#include <utility>

#include <orvane_data_array/element_table.hpp>

#include "elements/integer_reading.hpp"
#include "elements/narrowing.hpp"
#include "vocabulary/python_values.hpp"

namespace orvane::python {

/// An element, or an error that the caller raises, as the type recorded or as another. The interpreter's error
/// indicator is clean when a conversion returns.
template <class T>
using ElementResult = ValueOrError<T>;

/// Converts `value`, which must not be null. A value is a number by its type alone (`float`, `int`, `complex` and
/// their subclasses): none of its methods is called. `isConstruction` is false for assignments, where `logical`
/// takes integers only.
///
/// Defined for the eleven element types and the complex forms of the ten numeric ones.
template <class T>
ElementResult<T> convertToElement(PyObject* value, bool isConstruction);

/// Stores an integer in a real element, or one part of a complex one. False when it does not fit.
template <class Integer, class Real>
bool storeInteger(Integer value, Real& element) noexcept {
    if constexpr (std::is_same_v<Real, bool>) {
        element = value != 0;
    } else if constexpr (std::is_floating_point_v<Real>) {
        element = static_cast<Real>(value);
    } else {
        if (!std::in_range<Real>(value))
            return false;
        element = static_cast<Real>(value);
    }
    return true;
}

/// Reads an `int` of any subclass into a real element, or one part of a complex one. False when it does not fit.
template <class Real>
bool readIntegerAs(PyObject* integer, Real& element) {
    long long number;
    if (readInteger(integer, number)) [[likely]]
        return storeInteger(number, element);
    if constexpr (std::is_same_v<Real, std::uint64_t>)
        return readUnsignedInteger(integer, element);
    return false;
}

/// Stores a `float` in an element. False where the type refuses floats and where the number does not fit.
template <class T, bool isConstruction = true>
bool storeFloat(double value, T& element) noexcept {
    if constexpr (std::is_same_v<T, bool>) {
        element = value != 0.0;
        return isConstruction;
    } else if constexpr (isComplexElement<T> || std::is_floating_point_v<T>) {
        const auto part = narrowPart<RealElement<T>>(value);
        element = T(part.value_or(RealElement<T>{}));
        return part.has_value();
    } else {
        return false;
    }
}

/// Stores a `complex` in an element. False where the type refuses complex numbers and where a part does not fit.
template <class T, bool isConstruction = true>
bool storeComplex(double real, double imaginary, T& element) noexcept {
    if constexpr (std::is_same_v<T, bool>) {
        element = real != 0.0 || imaginary != 0.0;
        return isConstruction;
    } else if constexpr (isComplexElement<T>) {
        using Real = RealElement<T>;
        const auto realPart = narrowPart<Real>(real);
        const auto imaginaryPart = narrowPart<Real>(imaginary);
        element = T(realPart.value_or(Real{}), imaginaryPart.value_or(Real{}));
        return realPart && imaginaryPart;
    } else {
        return false;
    }
}

/// The quick half of `convertToElement`, for values of exactly the types `float`, `int`, `bool` and `complex`, and
/// for `None` where that is an element. False, with no reason given, for everything that it leaves to the full
/// conversion, faults included; where it answers, the full conversion would answer the same. No code of the
/// caller's runs.
template <class T, bool isConstruction = true>
inline bool convertExactNumber(PyObject* value, T& element) {
    const PyTypeObject* type = Py_TYPE(value);
    if (type == &PyFloat_Type)
        return storeFloat<T, isConstruction>(PyFloat_AS_DOUBLE(value), element);
    if (type == &PyLong_Type || type == &PyBool_Type) {
        RealElement<T> part;
        if (!readIntegerAs(value, part))
            return false;
        element = T(part);
        return true;
    }
    if (type == &PyComplex_Type) {
        const Py_complex number = reinterpret_cast<PyComplexObject*>(value)->cval;
        return storeComplex<T, isConstruction>(number.real, number.imag, element);
    }
    if constexpr (isComplexElement<T>) {
        element = T();
        return value == Py_None;
    }
    return false;
}

} // namespace orvane::python
