// The four arguments of an array type's constructor.
#pragma once

#include <Python.h>

#include <cstddef>

namespace orvane::python {

/// What one constructor call was given. All pointers are borrowed: whoever fills the record holds references to
/// the objects for as long as it is used, since reading them may run code of the caller's that drops its own.
/// Null and `None` both stand for an absent argument, save in `isComplex`, where `None` is a value (a wrong one).
struct ConstructorArguments {
    PyObject* initializer = nullptr;
    PyObject* size = nullptr;
    PyObject* vector = nullptr;
    PyObject* isComplex = nullptr;
    /// Whether `vector` came under its name. Decides the words of one refusal and nothing else.
    bool vectorByKeyword = false;
};

/// The short cut for the usual calls: reads positional arguments (a tuple, or null) and keyword arguments (a
/// dictionary, or null). False, with nothing raised, when the interpreter's parser has to look at them. No code of the
/// caller's runs.
bool readPlainConstructorArguments(PyObject* args, PyObject* kwargs, ConstructorArguments& arguments);
/// The same of a vectorcall's arguments: `given` positional ones and behind them those that `names` (a tuple, or null)
/// names. A dictionary in first place that stands for the keywords is not for the short cut.
bool readPlainConstructorArguments(PyObject* const* args, std::size_t given, PyObject* names,
                                   ConstructorArguments& arguments);
/// The same by the interpreter's parser. False, with its TypeError set, for unknown keywords and excess arguments. Keys
/// may be compared by code of the caller's, so that the dictionary must be one that nobody else can change.
bool parseConstructorArguments(PyObject* args, PyObject* kwargs, ConstructorArguments& arguments);

} // namespace orvane::python
