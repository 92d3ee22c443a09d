// `a[i] = v` and `a[i:j] = v`.
#pragma once

#include <Python.h>

namespace orvane::python {

/// `mp_ass_subscript` of all array types; a null `value` is a deletion, which never succeeds. 0, or -1 with an error
/// set.
///
/// Subscripts are measured against the whole active dimension, not against the view. There are four routes, by the
/// kind of subscript and by whether it falls on the last dimension; nothing is ever broadcast:
///
///   integer, last dimension      one number
///   integer, earlier dimension   nested values of exactly the trailing extents
///   slice, last dimension        a flat sequence of exactly the slice's length; a slice in the view is ignored
///   slice, earlier dimension     values in any nesting, one for each element that the slice selects
///
/// The right side is converted as a whole before the first element is written. What was written before a fault stays.
int OCPyArray_SetViaIndex(PyObject* self, PyObject* index, PyObject* value);

} // namespace orvane::python
