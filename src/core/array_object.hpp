// The Python object: a header and a pointer to the core array.
#pragma once

#include <Python.h>

#include <memory>

#include "core/core_array.hpp"
#include "vocabulary/own_array.hpp"

namespace orvane::python {

/// The same for all eleven types. Null `m_cppArray` marks a shell, an object whose construction has not finished
/// (or never will); every entry refuses one.
struct OCPyArray {
    PyObject_HEAD OCppPyArray* m_cppArray; ///< owned; lies in the same block of memory, behind this structure
};

inline OCPyArray* getOCPyArrayFromPyObject(PyObject* object) {
    return reinterpret_cast<OCPyArray*>(object);
}

/// A shell with room for the core of a whole array; null with MemoryError set.
PyObject* allocOCPyArray(PyTypeObject* type);
/// Makes the core array of a shell.
void fillShell(PyObject* shell, std::shared_ptr<ODArrayWrapper> wrapper, SupportedArrayEnum supportedArrayEnum,
               bool isComplex) noexcept;

/// A new object of the same Python type as `source`'s on storage of its own; null with an error set. Throws nothing.
PyObject* newArrayObject(const OCppPyArray& source, std::shared_ptr<ODArrayWrapper> wrapper, bool isComplex);
/// The view of `source` at `position`, absolute, of its active dimension; null with an error set. Throws for want of
/// memory.
PyObject* newSubarrayObject(const OCppPyArray& source, long position);
/// The view of `source` that a slice selects in its active dimension; otherwise the same.
PyObject* newSliceObject(const OCppPyArray& source, const SliceIndexItem& slice);

/// RuntimeError for what is no array, or none yet.
void raiseNotInitialized();

/// The core array of `self`; null with RuntimeError set when `self` is null or a shell.
inline OCppPyArray* requireCoreArray(PyObject* self) {
    OCppPyArray* core = self != nullptr ? getOCPyArrayFromPyObject(self)->m_cppArray : nullptr;
    if (core == nullptr) [[unlikely]]
        raiseNotInitialized();
    return core;
}

} // namespace orvane::python
