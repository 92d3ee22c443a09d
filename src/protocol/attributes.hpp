// The read-only attributes of arrays.
#pragma once

#include <Python.h>

namespace orvane::python {

/// "size" and "_size": the extents of what the array shows, as a tuple; the first entry is the active dimension's.
PyObject* OCPyArray_GetArraySize(PyObject* self, void*);
/// "itemsize": bytes of an element; of a complex one both parts together.
PyObject* OCPyArray_GetElementSize(PyObject* self, void*);
/// "_real", "_imag" and "_data": the methods `real`, `imag` and `noncomplex`, a new array at each access.
PyObject* OCPyArray_GetRealAsAttrib(PyObject* self, void*);
PyObject* OCPyArray_GetImagAsAttrib(PyObject* self, void*);
PyObject* OCPyArray_GetNoncomplexAsAttrib(PyObject* self, void*);
/// "_is_complex".
PyObject* OCPyArray_GetIsComplexAsAttrib(PyObject* self, void*);

} // namespace orvane::python
