// Selections as nested Python lists of numbers.
#pragma once

#include <Python.h>

#include "core/selection.hpp"

namespace orvane::python {

/// A new list, nested in index order with the first free dimension outermost, of the elements that `selection` takes
/// from `array`; null with an error set. Works for any number of dimensions without recursion.
PyObject* toNestedPyList(const OCppPyArray& array, const Selection& selection);

} // namespace orvane::python
