#include "functions.hpp"

#include <orvane/dlpack.hpp>

#include <algorithm>

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

/// Whether a view shows its elements in reverse. Some libraries end the process when they see steps backwards.
bool isReversed(PyObject* array) {
    const OrvaneLoan* const loan = exchange->lend(array, 0);
    if (loan == nullptr) {
        throw python::PythonError();
    }
    const bool isBackwards = std::any_of(loan->strides, loan->strides + loan->rank, [](auto step) { return step < 0; });
    exchange->giveBack(loan);
    return isBackwards;
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
        python::DlpackCopy wish = copyOf(copy);
        if (wish != python::DlpackCopy::Always && isReversed(array)) {
            if (forWriting != 0 || wish == python::DlpackCopy::Never) {
                PyErr_SetString(PyExc_BufferError, "the elements are shown in reverse, which tensors are not");
                throw python::PythonError();
            }
            wish = python::DlpackCopy::Always;
        }
        return python::toDlpackCapsule(array, {isVersioned != 0, forWriting != 0, wish});
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
