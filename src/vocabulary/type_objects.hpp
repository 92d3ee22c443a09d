// The static type objects, declared where every layer can name them.
#pragma once

#include <Python.h>

#include "vocabulary/element_vocabulary.hpp"
#include "vocabulary/export.hpp"

namespace orvane::python {

extern "C" {
/// The type of the iterators over arrays; made by `iter` alone.
extern ORVANE_EXPORT PyTypeObject OCPyIter_Type;
}

} // namespace orvane::python

/// The module's two exception types. Owned references, set once at start-up. A wrong count of elements is a shape
/// error; the right count in a wrong shape is a size error.
namespace OCPyError {
extern ORVANE_EXPORT PyObject* shapeErr;
extern ORVANE_EXPORT PyObject* sizeErr;
} // namespace OCPyError

namespace orvane::python {

/// `array.array`, fetched at start-up.
struct ArrayArray {
    static PyObject* s_arrayClass; ///< owned for the life of the process
    /// Whether it is what the interpreter came with, and not another class that somebody has put into its place.
    static bool s_isInterpretersOwn;
    /// False with RuntimeError set.
    static bool loadArrayClass();
};

} // namespace orvane::python
