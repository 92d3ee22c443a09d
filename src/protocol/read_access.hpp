// `a[i]`, `a[i:j]` and `len(a)`.
#pragma once

#include <Python.h>

#include "core/array_object.hpp"
#include "core/index_items.hpp"
#include "protocol/element_objects.hpp"
#include "vocabulary/boundary.hpp"
#include "vocabulary/python_values.hpp"

namespace orvane::python {

/// `sq_length` and `mp_length` of all array types: the length of the active dimension, or -1 with an error set.
Py_ssize_t OCPyArray_NumElemsInFirstDim(PyObject* self);

namespace detail {

/// The view behind `core[i:j]`, or null with an error set. May run code of the caller's.
PyObject* readSlice(const OCppPyArray& core, PyObject* slice);
/// The view behind `core[i]` before the last dimension; `position` is absolute.
PyObject* readSubarray(const OCppPyArray& core, long position);

/// The number at `position` of the last dimension.
template <class T>
PyObject* readElement(const OCppPyArray& core, long position) {
    const unsigned long offset = core.byteOffsetAt(position);
    if (offset >= static_cast<unsigned long>(core.layout().sizeInBytes())) {
        PyErr_Format(PyExc_IndexError, "index has an invalid value: %ld", position);
        return nullptr;
    }
    const std::byte* address = core.wrapper().elements() + offset;
    if constexpr (!std::is_same_v<T, bool>) {
        if (core.isComplex())
            return toPyObject(loadElement<std::complex<T>>(address));
    }
    return toPyObject(loadElement<T>(address));
}

} // namespace detail

/// `sq_item` of the array type of `T`. A negative `i` counts from the end of the view.
template <class T>
PyObject* OCPyArray_GetItem(PyObject* self, Py_ssize_t i) {
    const OCppPyArray* core = requireCoreArray(self);
    if (core == nullptr)
        return nullptr;
    if (!core->hasActiveDimension()) {
        raiseTooManyIndices();
        return nullptr;
    }
    IntegerIndexItem item{i};
    if (!item.normalize(core->getLengthOfActiveDimension())) {
        PyErr_Format(PyExc_IndexError, "index has an invalid value: %zd", i);
        return nullptr;
    }
    const long position = core->chain().absolutePosition(item.m_index);
    if (core->activeDimensionIsLast())
        return detail::readElement<T>(*core, position);
    return detail::readSubarray(*core, position);
}

/// `mp_subscript` of the array type of `T`: a view for a slice, a view or a number for an integer. Subscripts are
/// exactly `int` (or a subclass) and `slice`; everything else is a RuntimeError.
template <class T>
PyObject* OCPyArray_GetViaIndex(PyObject* self, PyObject* index) {
    const OCppPyArray* core = requireCoreArray(self);
    if (core == nullptr)
        return nullptr;
    if (pyObjectIsLong(index)) {
        const auto i = getIntegerIndexFromIndexObject(index);
        return i ? OCPyArray_GetItem<T>(self, *i) : nullptr;
    }
    if (Py_IS_TYPE(index, &PySlice_Type))
        return detail::readSlice(*core, index);
    setError(PyExc_RuntimeError, "index is not an integer or slice.");
    return nullptr;
}

} // namespace orvane::python
