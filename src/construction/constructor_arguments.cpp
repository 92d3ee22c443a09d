#include "construction/constructor_arguments.hpp"

#include "module/vocabulary/py_ref.hpp"

namespace orvane::python {

namespace {

constexpr Py_ssize_t argumentCount = 4;
constexpr Py_ssize_t vectorPosition = 2;

/// The common call, without keywords. False when the interpreter's parser has to look at the arguments.
bool readPositionalArguments(PyObject* args, PyObject* kwargs, ConstructorArguments& arguments) {
    if (args == nullptr || (kwargs != nullptr && PyDict_GET_SIZE(kwargs) != 0))
        return false;
    const Py_ssize_t given = PyTuple_GET_SIZE(args);
    if (given > argumentCount)
        return false;
    const auto argument = [&](Py_ssize_t position) {
        return position < given ? PyTuple_GET_ITEM(args, position) : nullptr;
    };
    arguments = {argument(0), argument(1), argument(vectorPosition), argument(3), false};
    return true;
}

} // namespace

bool parseConstructorArguments(PyObject* args, PyObject* kwargs, ConstructorArguments& arguments) {
    if (readPositionalArguments(args, kwargs, arguments))
        return true;

    // The parser asks for a tuple, and for keyword names that are not const before CPython 3.13.
    const PyRef positional = args != nullptr ? PyRef::borrow(args) : PyRef::steal(PyTuple_New(0));
    if (!positional)
        return false;
    static const char* keywords[] = {"initializer", "size", "vector", "is_complex", nullptr};
    arguments = {};
    if (!PyArg_ParseTupleAndKeywords(positional.get(), kwargs, "|OOOO", const_cast<char**>(keywords),
                                     &arguments.initializer, &arguments.size, &arguments.vector, &arguments.isComplex))
        return false;
    arguments.vectorByKeyword = arguments.vector != nullptr && PyTuple_GET_SIZE(positional.get()) <= vectorPosition;
    return true;
}

} // namespace orvane::python
