// `str()` and `repr()`.
#pragma once

#include <Python.h>

namespace orvane::python {

/// The text of the nested list of what an array selects, without blanks: "[[1.0,2.0],[3.0,4.0]]".
PyObject* OCPyArray_GetStr(PyObject* self);

/// The same inside a call of the type: "orvane.double([[1.0,2.0]])"; complex arrays end in ", is_complex=True)".
PyObject* OCPyArray_GetRepr(PyObject* self);

} // namespace orvane::python
