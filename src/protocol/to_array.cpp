// `toarray()`: into the interpreter's own arrays of numbers.
#include <Python.h>

#include <cstring>

#include "core/array_object.hpp"
#include "core/element_access.hpp"
#include "core/element_narrowing.hpp"
#include "core/selection.hpp"
#include "module/vocabulary/boundary.hpp"
#include "module/vocabulary/py_ref.hpp"
#include "module/vocabulary/python_values.hpp"
#include "module/vocabulary/type_objects.hpp"
#include "protocol/iteration.hpp"
#include "protocol/methods.hpp"

namespace orvane::python {

namespace {

bool hasOneFreeDimension(const OCppPyArray& array) {
    return array.hasActiveDimension() && array.activeDimensionIsLast();
}

/// The type code of `array.array` for an array's elements. It knows no logical elements; they become bytes.
char typeCodeOf(const OCppPyArray& array) {
    return TypeAsChar[array.supportedArrayEnum() == SAE_bool ? SAE_uint8_t : array.supportedArrayEnum()];
}

/// Copies a run of real elements as `array.array` stores them, next to each other.
template <class T>
void packRun(char* target, const std::byte* source, long count, long stride) {
    for (long i = 0; i < count; ++i, source += stride, target += sizeof(T)) {
        T element = loadElement<T>(source);
        if constexpr (std::is_same_v<T, float>)
            element = quieted(element);
        std::memcpy(target, &element, sizeof(T));
    }
}

/// The elements of a real view with one free dimension as `array.array` stores them, as an object that gives its bytes;
/// null with an error set. What lies in memory like this already is not copied: the object is valid as long as the
/// elements stay there.
template <class T>
PyObject* packed(const Selection& selection, const std::byte* elements) {
    constexpr bool changes = std::is_same_v<T, float> || std::is_same_v<T, bool>;
    const Py_ssize_t size = selection.elementCount * static_cast<Py_ssize_t>(sizeof(T));
    const std::byte* const first = elements + selection.origin;
    if (!changes && selection.strides[0] == static_cast<long>(sizeof(T)))
        return PyMemoryView_FromMemory(reinterpret_cast<char*>(const_cast<std::byte*>(first)), size, PyBUF_READ);
    PyObject* bytes = PyBytes_FromStringAndSize(nullptr, size);
    if (bytes != nullptr)
        packRun<T>(PyBytes_AS_STRING(bytes), first, selection.elementCount, selection.strides[0]);
    return bytes;
}

/// A new `array.array` of the elements of a real view with one free dimension; null with an error set.
PyObject* arrayOfBytes(const OCppPyArray& array, const Selection& selection) {
    // Making objects may run code that writes to the array and so moves its elements: these stay.
    const data::Array heldElements = array.wrapper().heldElements();
    const PyRef bytes = PyRef::steal(
        visitElementTypeOf(array, [&]<class T>() { return packed<T>(selection, array.wrapper().elements()); }));
    if (!bytes)
        return nullptr;
    PyRef result = PyRef::steal(PyObject_CallFunction(ArrayArray::s_arrayClass, "C", typeCodeOf(array)));
    if (!result)
        return nullptr;
    const PyRef none = PyRef::steal(PyObject_CallMethod(result.get(), "frombytes", "O", bytes.get()));
    return none ? result.release() : nullptr;
}

/// The same from an iterator over any view: complex numbers and sub-arrays `array.array` refuses.
PyObject* arrayOfItems(const OCppPyArray& array, PyObject* iterator) {
    return PyObject_CallFunction(ArrayArray::s_arrayClass, "CO", typeCodeOf(array), iterator);
}

/// What the caller is told when `array.array` did not take the elements; why, goes to standard error.
void replaceError(const OCppPyArray& array) {
    if (PyErr_ExceptionMatches(PyExc_MemoryError) != 0)
        return;
    printAndClearErrorIfAny();
    setError(PyExc_RuntimeError, hasOneFreeDimension(array)
                                     ? "toarray() failed."
                                     : "toarray() can be called only on a one-dimensional sequence.");
}

PyObject* newArrayArray(PyObject* self, const OCppPyArray& core) {
    const Selection selection = selectionOf(core);
    PyObject* array = nullptr;
    if (!core.isComplex() && hasOneFreeDimension(core) && selection.isInside) {
        array = arrayOfBytes(core, selection);
    } else {
        const PyRef iterator = PyRef::steal(OCPyArray_GetIter(self));
        if (!iterator)
            return nullptr;
        array = arrayOfItems(core, iterator.get());
    }
    if (array == nullptr)
        replaceError(core);
    return array;
}

} // namespace

PyObject* OCPyArray_ToArrayArray(PyObject* self, PyObject*) {
    const OCppPyArray* core = requireCoreArray(self);
    if (core == nullptr)
        return nullptr;
    return withMemoryErrors(static_cast<PyObject*>(nullptr), [&] { return newArrayArray(self, *core); });
}

} // namespace orvane::python
