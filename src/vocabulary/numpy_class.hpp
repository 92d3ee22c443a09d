// NumPy's array class, where the program uses NumPy.
#pragma once

#include <Python.h>

namespace orvane::python {

/// Whether a type is `numpy.ndarray` itself and no class derived from it. NumPy is looked up among the modules that are
/// loaded, and never imported. No code of the caller's runs.
bool isNumPyArrayClass(PyTypeObject* type);

} // namespace orvane::python
