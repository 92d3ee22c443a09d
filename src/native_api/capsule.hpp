// The five functions that other extension modules reach through the capsule `_capi`.
#pragma once

#include <Python.h>

/// The interpreter lock must be held for all of them. Their positions in the capsule's table are the interface:
/// nothing may be inserted or reordered.
namespace OCPyArrayAPI {

/// Position 0. Takes ownership of an array implementation, on failure too. A new array, or null with an error set.
PyObject* OCPyArray_ODAImplToOCPyArray(void* impl);

/// The same for who gives up every pointer to the implementation; no element is copied. Not in the table of five.
PyObject* arrayFromOwnImpl(void* impl);

/// Position 1. The implementation behind an array, of a view its materialised copy; borrowed until the array is
/// assigned to, reshaped or dies. Null with an error set.
void* OCPyArray_OCPyArrayToODAImpl(PyObject* object);

/// Position 2. A new array with a copy of any object's buffer, or null; without an error set when the object has no
/// buffer. `typeCode` receives the type code of the elements, plus 10 when they are complex, or 32 when none was found.
PyObject* OCPyArray_BufferObjectToOCPyArray(PyObject* object, int* typeCode);

/// Position 3. Destroys an array that was got from position 0 or 2 and given to nobody, without regard to its
/// reference count. Does nothing for null and for objects that are no arrays.
void OCPyArray_DestroyOCPyArray(PyObject* object);

/// Position 4. Whether an object exports buffers; false for null.
bool OCPyArray_SatisfiesBufferProtocol(PyObject* object);

/// The capsule around the table, with the second one in its context; null with an error set.
PyObject* newCapsule();

} // namespace OCPyArrayAPI
