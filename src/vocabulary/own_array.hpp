// The one type test of the system: is an object one of the eleven array types?
#pragma once

#include <Python.h>

namespace orvane::python {

/// Deallocator of all eleven array types and of no other type; they cannot be subclassed.
void OCPyArray_Delete(PyObject* self);

/// Whether `object` is an array of this module; false for null. Comparing the deallocator's address
/// takes the place of eleven comparisons of types.
inline bool OCPyArray_Check(PyObject* object) {
    return object != nullptr && Py_TYPE(object) != nullptr && Py_TYPE(object)->tp_dealloc == OCPyArray_Delete;
}

} // namespace orvane::python
