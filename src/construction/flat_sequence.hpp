// The short cut for flat sequences of the interpreter's own types.
#pragma once

#include <Python.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

#include "construction/own_array_items.hpp"
#include "construction/regular_nesting.hpp"
#include "elements/conversion.hpp"
#include "elements/plain_number.hpp"
#include "vocabulary/error_state.hpp"
#include "vocabulary/type_objects.hpp"

namespace orvane::python {

/// The first number of a range and the distance between its numbers. Nothing, with no error set, when one of its
/// numbers is beyond 64 bits.
struct RangeItems {
    long long first;
    long long step;
};
std::optional<RangeItems> itemsOfRange(PyObject* range);

/// Numbers that lie in memory one after the other, in a format of `array.array`.
template <class T>
bool readPackedItems(char format, const void* block, Py_ssize_t length, T* target) noexcept {
    for (std::size_t i = 0; i < static_cast<std::size_t>(length); ++i) {
        if (!storeNumber(PlainNumber::itemAt(block, format, i), target[i]))
            return false;
    }
    return true;
}

/// Reads the `length` items of a sequence that is exactly a list, tuple, range, `bytes`, `bytearray` or
/// `array.array`, or a one-dimensional view of an array of this module. False, with no error set, for any other
/// sequence and when an item is not read as a number; the target is then partly filled. No code of the caller's runs.
template <class T>
bool readFlatSequence(PyObject* sequence, Py_ssize_t length, T* target) {
    if (const auto items = exactItems(sequence); !items.empty()) {
        for (PyObject* const item : items) {
            if (!convertExactNumber(item, *target++))
                return false;
        }
        return true;
    }
    if (PyRange_Check(sequence)) {
        const auto range = itemsOfRange(sequence);
        for (Py_ssize_t i = 0; range && i < length; ++i) {
            RealElement<T> part{};
            if (!storeInteger(range->first + i * range->step, part))
                return false;
            target[i] = T(part);
        }
        return range.has_value();
    }
    if (PyBytes_CheckExact(sequence))
        return readPackedItems('B', PyBytes_AS_STRING(sequence), length, target);
    if (PyByteArray_CheckExact(sequence))
        return readPackedItems('B', PyByteArray_AS_STRING(sequence), length, target);
    if (Py_IS_TYPE(sequence, reinterpret_cast<PyTypeObject*>(ArrayArray::s_arrayClass))) {
        BufferView view;
        if (!view.acquire(sequence, PyBUF_FORMAT)) {
            PyErr_Clear();
            return false;
        }
        // The class is whatever bore the name when this module was imported; only what is packed as told is read here.
        const bool isPacked = view->format != nullptr && view->ndim == 1 && view->len == length * view->itemsize;
        return isPacked && readPackedItems(view->format[0], view->buf, length, target);
    }
    if (const auto items = OwnArrayItems::of(sequence))
        return items->selection.rank() == 1 && readOwnArray<T, true>(*items, target);
    return false;
}

} // namespace orvane::python
