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
    constexpr bool changes = std::is_same_v<T, float> || std::is_same_v<T, bool>;
    if (!changes && stride == static_cast<long>(sizeof(T))) {
        std::memcpy(target, source, static_cast<std::size_t>(count) * sizeof(T));
        return;
    }
    for (long i = 0; i < count; ++i, source += stride, target += sizeof(T)) {
        T element = loadElement<T>(source);
        if constexpr (std::is_same_v<T, float>)
            element = quieted(element);
        std::memcpy(target, &element, sizeof(T));
    }
}

/// The elements of a real view with one free dimension as `array.array` stores them; null with an error set.
template <class T>
PyObject* packed(const Selection& selection, const std::byte* elements) {
    PyObject* bytes = PyBytes_FromStringAndSize(nullptr, selection.elementCount * static_cast<Py_ssize_t>(sizeof(T)));
    if (bytes == nullptr)
        return nullptr;
    packRun<T>(PyBytes_AS_STRING(bytes), elements + selection.origin, selection.elementCount, selection.strides[0]);
    return bytes;
}

/// What `array.array` is to be filled from: packed elements, or an iterator where the elements must be looked at one by
/// one (complex ones, sub-arrays and places outside the storage, all of which it refuses in its own words).
PyObject* contentsFor(PyObject* self, const OCppPyArray& array) {
    const Selection selection = selectionOf(array);
    if (array.isComplex() || !hasOneFreeDimension(array) || !selection.isInside)
        return OCPyArray_GetIter(self);
    return visitElementTypeOf(array, [&]<class T>() { return packed<T>(selection, array.wrapper().elements()); });
}

} // namespace

PyObject* OCPyArray_ToArrayArray(PyObject* self, PyObject*) {
    const OCppPyArray* core = requireCoreArray(self);
    if (core == nullptr)
        return nullptr;
    const PyRef contents =
        PyRef::steal(withMemoryErrors(static_cast<PyObject*>(nullptr), [&] { return contentsFor(self, *core); }));
    if (!contents)
        return nullptr;
    const PyRef arguments = PyRef::steal(Py_BuildValue("CO", typeCodeOf(*core), contents.get()));
    if (!arguments) {
        printAndClearErrorIfAny();
        setError(PyExc_RuntimeError, "unable to set arg tuple.");
        return nullptr;
    }
    PyObject* array = PyObject_CallObject(ArrayArray::s_arrayClass, arguments.get());
    if (array == nullptr && PyErr_ExceptionMatches(PyExc_MemoryError) == 0) {
        printAndClearErrorIfAny();
        setError(PyExc_RuntimeError, hasOneFreeDimension(*core)
                                         ? "toarray() failed."
                                         : "toarray() can be called only on a one-dimensional sequence.");
    }
    return array;
}

} // namespace orvane::python
