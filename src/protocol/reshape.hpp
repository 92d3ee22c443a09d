// `reshape()`: new extents for the elements, in place.
#pragma once

#include <Python.h>

namespace orvane::python {

/// Takes the extents as arguments or as one sequence. Every view on the same storage sees the new extents at once;
/// no element moves. Returns `self`.
PyObject* OCPyArray_Reshape(PyObject* self, PyObject* args, PyObject* kwargs);

} // namespace orvane::python
