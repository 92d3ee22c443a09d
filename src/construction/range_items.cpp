#include "construction/range_items.hpp"

#include "vocabulary/py_ref.hpp"

namespace orvane::python {

namespace {

/// An attribute of a range that holds an integer. The name is one for all calls: the interpreter keeps those that it
/// has looked up in a cache.
std::optional<long long> rangeAttribute(PyObject* range, const char* name) {
    const PyRef attribute = PyRef::steal(PyUnicode_InternFromString(name));
    const PyRef value = attribute ? PyRef::steal(PyObject_GetAttr(range, attribute.get())) : PyRef();
    long long number = 0;
    if (value && readInteger(value.get(), number))
        return number;
    PyErr_Clear();
    return std::nullopt;
}

} // namespace

std::optional<RangeItems> itemsOfRange(PyObject* range) {
    const PyRef held = PyRef::borrow(range); // raising an error may run code that empties the list in which it stands
    const auto first = rangeAttribute(range, "start");
    const auto step = rangeAttribute(range, "step");
    const Py_ssize_t length = PySequence_Size(range);
    if (length < 0)
        PyErr_Clear();
    long long last = 0;
    if (!first || !step || length < 1 || __builtin_mul_overflow(*step, length - 1, &last) ||
        __builtin_add_overflow(*first, last, &last))
        return std::nullopt;
    return RangeItems{*first, *step, length};
}

} // namespace orvane::python
