// The methods of arrays, but for `reshape` and `__reduce__`.
#pragma once

#include <Python.h>

namespace orvane::python {

/// `clone()`: an independent array of what this one selects, as it was when it was first materialised.
PyObject* OCPyArray_Clone(PyObject* self, PyObject*);

/// `real()`, `imag()`: the parts of all elements of a complex array, whatever a view of it selects, in storage order: a
/// new real array of the same element type, as the one row of a 1-by-N array.
PyObject* OCPyArray_Real(PyObject* self, PyObject*);
PyObject* OCPyArray_Imag(PyObject* self, PyObject*);
/// `noncomplex()`: the same with the elements of an array that is not complex.
PyObject* OCPyArray_Noncomplex(PyObject* self, PyObject*);

/// `buffer_info()`: the address of the mirror and the number of elements, of the whole array.
PyObject* OCPyArray_BufferInfo(PyObject* self, PyObject*);
/// `get_bytewise_strides()`: one stride per dimension of the whole array.
PyObject* OCPyArray_GetBytewiseStrides(PyObject* self, PyObject*);

/// `toarray()`: an `array.array` of a view with one free dimension; logical elements become bytes 0 and 1.
PyObject* OCPyArray_ToArrayArray(PyObject* self, PyObject*);
/// `tomemoryview()`.
PyObject* OCPyArray_ToMemoryView(PyObject* self, PyObject*);

} // namespace orvane::python
