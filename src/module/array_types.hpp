// The static type objects and their slot tables, and their way into the module.
#pragma once

#include <Python.h>

#include "vocabulary/element_vocabulary.hpp"
#include "vocabulary/type_objects.hpp"

extern "C" {

/// Readies the eleven array types and the iterator type and adds them to the module. Returns the module, or null with
/// an error set.
ORVANE_EXPORT PyObject* init_types(PyObject* module);
}
