// The short cut for flat sequences of the interpreter's own types.
#pragma once

#include <Python.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

#include "construction/element_conversion.hpp"
#include "construction/regular_nesting.hpp"
#include "module/vocabulary/error_state.hpp"
#include "module/vocabulary/type_objects.hpp"

namespace orvane::python {

/// The first number of a range and the distance between its numbers. Nothing, with no error set, when one of its
/// numbers is beyond 64 bits.
struct RangeItems {
    long long first;
    long long step;
};
std::optional<RangeItems> itemsOfRange(PyObject* range);

/// Item `i` of a block whose items have the format of a typecode of `array.array`, as Python would see it.
struct PackedItem {
    enum class Kind { Integer, Natural, Float, NoNumber };
    Kind kind;
    long long integer;
    std::uint64_t natural; ///< for what an `integer` cannot hold
    double number;
};
PackedItem packedItem(char typecode, const void* items, Py_ssize_t i) noexcept;

template <class T>
bool storePackedItem(const PackedItem& item, T& element) noexcept {
    RealElement<T> part{};
    switch (item.kind) {
    case PackedItem::Kind::Integer:
        if (!storeInteger(item.integer, part))
            return false;
        break;
    case PackedItem::Kind::Natural:
        if constexpr (!std::is_same_v<RealElement<T>, std::uint64_t>)
            return false;
        else
            part = item.natural;
        break;
    case PackedItem::Kind::Float:
        return storeFloat<T>(item.number, element);
    case PackedItem::Kind::NoNumber:
        return false;
    }
    element = T(part);
    return true;
}

template <class T>
bool readPackedItems(char typecode, const void* items, Py_ssize_t length, T* target) noexcept {
    for (Py_ssize_t i = 0; i < length; ++i) {
        if (!storePackedItem(packedItem(typecode, items, i), target[i]))
            return false;
    }
    return true;
}

/// Reads the `length` items of a sequence that is exactly a list, tuple, range, `bytes`, `bytearray` or
/// `array.array`. False, with no error set, for any other sequence and when an item is not read as a number; the
/// target is then partly filled. No code of the caller's runs.
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
        return readPackedItems(view->format[0], view->buf, length, target);
    }
    return false;
}

} // namespace orvane::python
