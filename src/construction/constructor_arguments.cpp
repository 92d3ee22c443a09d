#include "construction/constructor_arguments.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>

#include "vocabulary/py_ref.hpp"

namespace orvane::python {

namespace {

constexpr std::array keywords{"initializer", "size", "vector", "is_complex"};
constexpr std::size_t vectorPosition = 2;

/// The values in the order of `keywords`; null for those that are absent.
using Values = std::array<PyObject*, keywords.size()>;

/// Fills what is missing; false, with no error set, where there is no memory for it. Not by a guarded initialisation:
/// there, code of the caller's may run that comes back here, or another thread, which would wait for ever.
[[gnu::cold]] bool internNames(Values& names) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (names[i] == nullptr && (names[i] = PyUnicode_InternFromString(keywords[i])) == nullptr) {
            PyErr_Clear();
            return false;
        }
    }
    return true;
}

/// The position of an argument that is given under the very string object that programs have for its name: names
/// written in a call are interned. Nothing for any other object, though it may be an equal string.
std::optional<std::size_t> positionOfInternedName(PyObject* name) {
    static constinit Values names{}; // owned to the end of the process
    if (names.back() == nullptr && !internNames(names)) [[unlikely]]
        return std::nullopt;
    const auto found = std::ranges::find(names, name);
    return found != names.end() ? std::optional(static_cast<std::size_t>(found - names.begin())) : std::nullopt;
}

/// The short cut for the usual calls. False when the interpreter's parser has to look at the arguments.
bool readPlainArguments(PyObject* args, PyObject* kwargs, Values& values) {
    const Py_ssize_t given = args != nullptr ? PyTuple_GET_SIZE(args) : 0;
    if (given > static_cast<Py_ssize_t>(values.size()))
        return false;
    for (Py_ssize_t i = 0; i < given; ++i)
        values[static_cast<std::size_t>(i)] = PyTuple_GET_ITEM(args, i);
    if (kwargs == nullptr)
        return true;
    PyObject* name = nullptr;
    PyObject* value = nullptr;
    for (Py_ssize_t place = 0; PyDict_Next(kwargs, &place, &name, &value) != 0;) {
        const auto position = positionOfInternedName(name);
        if (!position || values[*position] != nullptr)
            return false;
        values[*position] = value;
    }
    return true;
}

/// The long road, which knows the faults.
bool parseArguments(PyObject* args, PyObject* kwargs, Values& values) {
    // The parser asks for a tuple, and for keyword names that are not const before CPython 3.13.
    const PyRef positional = args != nullptr ? PyRef::borrow(args) : PyRef::steal(PyTuple_New(0));
    if (!positional)
        return false;
    const char* names[keywords.size() + 1] = {};
    std::ranges::copy(keywords, names);
    return PyArg_ParseTupleAndKeywords(positional.get(), kwargs, "|OOOO", const_cast<char**>(names), &values[0],
                                       &values[1], &values[2], &values[3]) != 0;
}

ConstructorArguments record(const Values& values, std::size_t given) {
    const auto [initializer, size, vector, isComplex] = values;
    return {initializer, size, vector, isComplex, vector != nullptr && given <= vectorPosition};
}

std::size_t countOf(PyObject* tuple) {
    return tuple != nullptr ? static_cast<std::size_t>(PyTuple_GET_SIZE(tuple)) : 0;
}

} // namespace

bool readPlainConstructorArguments(PyObject* args, PyObject* kwargs, ConstructorArguments& arguments) {
    Values values{};
    if (!readPlainArguments(args, kwargs, values))
        return false;
    arguments = record(values, countOf(args));
    return true;
}

bool readPlainConstructorArguments(PyObject* const* args, std::size_t given, PyObject* names,
                                   ConstructorArguments& arguments) {
    Values values{};
    const std::size_t named = countOf(names);
    if (given > values.size() || (named == 0 && given > 0 && PyDict_Check(args[0])))
        return false;
    std::copy_n(args, given, values.begin());
    for (std::size_t i = 0; i < named; ++i) {
        const auto position = positionOfInternedName(PyTuple_GET_ITEM(names, static_cast<Py_ssize_t>(i)));
        if (!position || values[*position] != nullptr)
            return false;
        values[*position] = args[given + i];
    }
    arguments = record(values, given);
    return true;
}

bool parseConstructorArguments(PyObject* args, PyObject* kwargs, ConstructorArguments& arguments) {
    Values values{};
    if (!parseArguments(args, kwargs, values))
        return false;
    arguments = record(values, countOf(args));
    return true;
}

} // namespace orvane::python
