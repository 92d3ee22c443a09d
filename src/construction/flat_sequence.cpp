#include "construction/flat_sequence.hpp"

#include <concepts>
#include <cstring>
#include <limits>

#include "module/vocabulary/py_ref.hpp"

namespace orvane::python {

namespace {

/// An attribute of a range that holds an integer.
std::optional<long long> rangeAttribute(PyObject* range, const char* name) {
    const PyRef value = PyRef::steal(PyObject_GetAttrString(range, name));
    long long number = 0;
    if (value && readInteger(value.get(), number))
        return number;
    PyErr_Clear();
    return std::nullopt;
}

template <class Item>
PackedItem loadItem(const void* items, Py_ssize_t i) noexcept {
    Item item;
    std::memcpy(&item, static_cast<const char*>(items) + static_cast<std::size_t>(i) * sizeof item, sizeof item);
    using Kind = PackedItem::Kind;
    if constexpr (std::floating_point<Item>)
        return {Kind::Float, 0, 0, static_cast<double>(item)};
    else if (std::in_range<long long>(item))
        return {Kind::Integer, static_cast<long long>(item), 0, 0.0};
    else
        return {Kind::Natural, 0, static_cast<std::uint64_t>(item), 0.0};
}

} // namespace

std::optional<RangeItems> itemsOfRange(PyObject* range) {
    const auto first = rangeAttribute(range, "start");
    const auto step = rangeAttribute(range, "step");
    const Py_ssize_t length = PySequence_Size(range);
    if (length < 0)
        PyErr_Clear();
    long long last = 0;
    if (!first || !step || length < 1 || __builtin_mul_overflow(*step, length - 1, &last) ||
        __builtin_add_overflow(*first, last, &last))
        return std::nullopt;
    return RangeItems{*first, *step};
}

PackedItem packedItem(char typecode, const void* items, Py_ssize_t i) noexcept {
    switch (typecode) {
    case 'b':
        return loadItem<signed char>(items, i);
    case 'B':
        return loadItem<unsigned char>(items, i);
    case 'h':
        return loadItem<short>(items, i);
    case 'H':
        return loadItem<unsigned short>(items, i);
    case 'i':
        return loadItem<int>(items, i);
    case 'I':
        return loadItem<unsigned int>(items, i);
    case 'l':
        return loadItem<long>(items, i);
    case 'L':
        return loadItem<unsigned long>(items, i);
    case 'q':
        return loadItem<long long>(items, i);
    case 'Q':
        return loadItem<unsigned long long>(items, i);
    case 'f':
        return loadItem<float>(items, i);
    case 'd':
        return loadItem<double>(items, i);
    default: // characters
        return {PackedItem::Kind::NoNumber, 0, 0, 0.0};
    }
}

} // namespace orvane::python
