// Reading what kind of elements a foreign buffer holds.
#pragma once

#include <Python.h>

#include "vocabulary/error_state.hpp"

namespace orvane::python {

/// Acquires a contiguous buffer of either order from `object` and tells its element type. Only the first format
/// character counts, or the second behind a 'Z' ("Z" alone is complex double); byte orders and counts are not
/// understood.
///
/// Returns the type code, 3 to 13, and fills `isComplex`; or a status: -1 no buffer protocol (no error set), -2 null
/// argument, -3 refused by the exporter, -4 no format, -5 empty format, -6 unknown format. `view` holds a buffer only
/// when a type code is returned.
int fillPyBuffer(PyObject* object, BufferView* view, bool* isComplex);

} // namespace orvane::python
