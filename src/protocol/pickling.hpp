// `__reduce__`: pickling and copying.
#pragma once

#include <Python.h>

namespace orvane::python {

/// `(type, (keywords, nested list))`; the keywords are {} or {'is_complex': True}, and the constructor takes a leading
/// dictionary for its keywords. Of a view only the integers count: a slice pickles as if it were not there.
PyObject* OCPyArray_Reduce(PyObject* self, PyObject*);

} // namespace orvane::python
