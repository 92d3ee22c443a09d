// `==` and `!=`.
#pragma once

#include <Python.h>

namespace orvane::python {

/// `tp_richcompare` of all array types. Arrays of one element type are equal when their nesting and their values
/// are, as Python compares the numbers: complex or not does not matter, NaN equals nothing, and below an empty
/// dimension nothing is looked at. Anything else is unequal. Ordering raises NotImplementedError.
PyObject* OCPyArray_RichCompare(PyObject* self, PyObject* other, int op);

} // namespace orvane::python
