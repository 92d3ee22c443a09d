// Python arrays from arrays of C++ and from buffers.
#pragma once

#include <orvane/capsule.h>
#include <orvane/data.hpp>
#include <orvane/python/errors.hpp>
#include <orvane/python/exchange.hpp>
#include <orvane/python/module.hpp>
#include <orvane/python/reference.hpp>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

/// A new Python array. It takes the library's array over when `array` is the only handle to it: move it in, and no
/// element is copied. Its elements are Python's from then on; pointers to them that were kept are not to be used any
/// more. A handle that shares its array, or was lent, gives a copy.
/// RuntimeError "invalid type." for characters and for fewer than two dimensions.
inline Reference toPython(data::Array array) {
    // A package from before there was a second table copies the elements once, for Python to read.
    const auto takeOver = hasExchange() ? detail::exchange().arrayFromOwnImpl : detail::module().capsule->arrayFromImpl;
    Reference object(takeOver(array.detach()));
    if (!object) {
        throw PythonError();
    }
    return object;
}

/// A new Python array with a copy of any object's buffer, of the type that the buffer's format names. TypeError when
/// the object exports none; the exporter's or the constructor's error when they refuse.
inline Reference arrayFromBuffer(PyObject* object) {
    int typeCode = ORVANE_NO_TYPE_CODE;
    Reference array(detail::module().capsule->arrayFromBuffer(object, &typeCode));
    if (!array && PyErr_Occurred() == nullptr) {
        detail::refuse("an object with a buffer", object);
    }
    if (!array) {
        throw PythonError();
    }
    return array;
}

} // namespace python
} // namespace orvane
