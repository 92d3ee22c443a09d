// `toarray()`: into the interpreter's own arrays of numbers.
#include <Python.h>

#include <cstring>

#include "core/array_object.hpp"
#include "core/element_access.hpp"
#include "core/selection.hpp"
#include "elements/narrowing.hpp"
#include "protocol/iteration.hpp"
#include "protocol/methods.hpp"
#include "vocabulary/boundary.hpp"
#include "vocabulary/caller_code.hpp"
#include "vocabulary/error_state.hpp"
#include "vocabulary/py_ref.hpp"
#include "vocabulary/python_values.hpp"
#include "vocabulary/type_objects.hpp"

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
void packRun(std::byte* target, const std::byte* source, long count, long stride) {
    constexpr bool changes = std::is_same_v<T, float> || std::is_same_v<T, bool>;
    if (!changes && stride == static_cast<long>(sizeof(T))) {
        std::memcpy(target, source, static_cast<std::size_t>(count) * sizeof(T));
        return;
    }
    for (long i = 0; i < count; ++i) {
        T element = loadElement<T>(source + i * stride);
        if constexpr (std::is_same_v<T, float>)
            element = quieted(element);
        std::memcpy(target + i * static_cast<long>(sizeof(T)), &element, sizeof(T));
    }
}

/// A new `array.array` of the elements of a real view with one free dimension; null with an error set.
PyObject* arrayOfRun(const OCppPyArray& array, const Selection& selection) {
    const PyRef zero = PyRef::steal(PyObject_CallFunction(ArrayArray::s_arrayClass, "C(i)", typeCodeOf(array), 0));
    PyRef result = PyRef::steal(zero ? PySequence_Repeat(zero.get(), selection.elementCount) : nullptr);
    BufferView room;
    if (!result || !room.acquire(result.get(), PyBUF_WRITABLE))
        return nullptr;
    if (room->len != selection.elementCount * array.layout().elementSize()) {
        setError(PyExc_RuntimeError, "array.array has another length than it was given.");
        return nullptr;
    }
    // Making objects may have run code that wrote to the array and so moved its elements: they are looked for now, when
    // no more code can run.
    const std::byte* const first = array.wrapper().elements() + selection.origin;
    visitElementTypeOf(array, [&]<class T>() {
        packRun<T>(static_cast<std::byte*>(room->buf), first, selection.elementCount, selection.strides[0]);
    });
    return result.release();
}

/// The same from an iterator over any view, as `array.array` takes or refuses its items.
PyObject* arrayOfItems(const OCppPyArray& array, PyObject* iterator) {
    return PyObject_CallFunction(ArrayArray::s_arrayClass, "CO", typeCodeOf(array), iterator);
}

/// What the caller is told when `array.array` did not take the elements; why, goes to standard error. A class in its
/// place that wants the process to end has just not made an array.
void replaceErrorOfArrayArray(const OCppPyArray& array) {
    if (!mayReplaceError() && PyErr_ExceptionMatches(PyExc_SystemExit) == 0)
        return;
    printAndClearErrorIfAny();
    setError(PyExc_RuntimeError, hasOneFreeDimension(array)
                                     ? "toarray() failed."
                                     : "toarray() can be called only on a one-dimensional sequence.");
}

PyObject* newArrayArray(PyObject* self, const OCppPyArray& core) {
    const Selection selection = selectionOf(core);
    PyObject* array = nullptr;
    const bool isRun = !core.isComplex() && hasOneFreeDimension(core) && selection.isInside;
    if (isRun && ArrayArray::s_isInterpretersOwn) {
        array = arrayOfRun(core, selection);
    } else {
        const PyRef iterator = PyRef::steal(OCPyArray_GetIter(self));
        if (!iterator)
            return nullptr;
        array = arrayOfItems(core, iterator.get());
    }
    if (array == nullptr)
        replaceErrorOfArrayArray(core);
    return array;
}

} // namespace

PyObject* OCPyArray_ToArrayArray(PyObject* self, PyObject*) {
    const OCppPyArray* core = requireCoreArray(self);
    if (core == nullptr)
        return nullptr;
    constexpr PyObject* failure = nullptr;
    return withRecursionCounted(failure,
                                [&] { return withMemoryErrors(failure, [&] { return newArrayArray(self, *core); }); });
}

} // namespace orvane::python
