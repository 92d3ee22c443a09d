// The buffer protocol, PEP 3118: elements for reading, without a copy.
#pragma once

#include <Python.h>

namespace orvane::python {

/// Exports the mirror of a whole array in place, so that later assignments show, or the snapshot of a view, made at
/// its first export. Always column-major, read-only and fully described; requests for writing or for C-contiguous
/// elements are refused. An open export hinders nothing.
int OCPyArray_GetBuffer(PyObject* self, Py_buffer* view, int flags);

/// Nothing is to be undone; `PyBuffer_Release` drops the reference.
void OCPyArray_ReleaseBuffer(PyObject* self, Py_buffer* view);

} // namespace orvane::python
