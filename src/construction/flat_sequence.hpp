// The short cut for flat sequences of the interpreter's own types.
#pragma once

#include <Python.h>

#include <algorithm>
#include <array>
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

/// Whether all `length` numbers of a range, one or more, can be stored.
template <class Real>
bool isRangeOf(PyObject* range, Py_ssize_t length) {
    const auto items = itemsOfRange(range);
    Real part{};
    return items && storeInteger(items->first, part) && storeInteger(items->first + (length - 1) * items->step, part);
}

/// Numbers that lie in memory one after the other, in a format of `array.array`.
template <class T>
bool readPackedItems(char format, const void* block, Py_ssize_t length, T* target) noexcept {
    for (std::size_t i = 0; i < static_cast<std::size_t>(length); ++i) {
        if (!storeNumber(PlainNumber::itemAt(block, format, i), target[i]))
            return false;
    }
    return true;
}

/// Numbers at equal distances. False also, with an error set, when the handler of a signal has raised one.
template <class T>
bool readRange(const RangeItems& range, Py_ssize_t length, T* target) {
    constexpr Py_ssize_t numbersTogether = Py_ssize_t{1} << 20;
    for (Py_ssize_t start = 0; start < length; start += numbersTogether) {
        if (start > 0 && PyErr_CheckSignals() != 0)
            return false;
        const long long first = range.first + start * range.step;
        const Py_ssize_t count = std::min(length - start, numbersTogether);
        for (Py_ssize_t i = 0; i < count; ++i) {
            RealElement<T> part{};
            if (!storeInteger(first + i * range.step, part))
                return false;
            target[start + i] = T(part);
        }
    }
    return true;
}

/// Reads the `length` items of a sequence that is exactly a list, tuple, range, `bytes`, `bytearray` or
/// `array.array`, or a one-dimensional view of an array of this module. False for any other sequence and when an item
/// is not read as a number, with no error set, and with one that the handler of a signal has raised; the target is then
/// partly filled. No other code of the caller's runs.
template <class T>
bool readFlatSequence(PyObject* sequence, Py_ssize_t length, T* target) {
    if (!exactItems(sequence).empty()) {
        const std::array extent{static_cast<std::size_t>(length)};
        return RegularReader<T, true>(extent, ElementOrder::RowMajor, target).read(sequence);
    }
    if (PyRange_Check(sequence)) {
        const auto range = itemsOfRange(sequence);
        return range && readRange(*range, length, target);
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
