#include "functions.hpp"

#include <orvane/dlpack.hpp>

namespace orvane::bridge {

namespace {

/// What the word `copy` of Python's protocol says: None, True or False.
python::DlpackCopy copyOf(PyObject* word) {
    if (word == Py_None) {
        return python::DlpackCopy::IfNeeded;
    }
    const int truth = PyObject_IsTrue(word);
    if (truth < 0) {
        throw python::PythonError();
    }
    return truth != 0 ? python::DlpackCopy::Always : python::DlpackCopy::Never;
}

} // namespace

PyObject* toCapsule(PyObject*, PyObject* arguments) {
    return python::guarded([&] {
        PyObject* array = nullptr;
        int isVersioned = 1;
        int forWriting = 0;
        PyObject* copy = Py_None;
        if (PyArg_ParseTuple(arguments, "OppO:to_capsule", &array, &isVersioned, &forWriting, &copy) == 0) {
            throw python::PythonError();
        }
        return python::toDlpackCapsule(array, {isVersioned != 0, forWriting != 0, copyOf(copy)});
    });
}

PyObject* fromCapsule(PyObject*, PyObject* arguments) {
    return python::guarded([&] {
        PyObject* capsule = nullptr;
        PyObject* copy = Py_None;
        if (PyArg_ParseTuple(arguments, "OO:from_capsule", &capsule, &copy) == 0) {
            throw python::PythonError();
        }
        return python::fromDlpackCapsule(capsule, copyOf(copy));
    });
}

} // namespace orvane::bridge
