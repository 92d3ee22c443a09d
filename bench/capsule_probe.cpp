// A Python module that is a client of the arrays' capsule, as another native extension would be.
#include <Python.h>

namespace {

using ArrayToImplementation = void* (*)(PyObject*);

/// Position 1 of the capsule's table.
ArrayToImplementation arrayToImplementation = nullptr;

/// way_in(array, calls): asks for the implementation behind `array` so many times, as a native function does with
/// each of its arguments.
PyObject* wayIn(PyObject*, PyObject* args) {
    PyObject* array = nullptr;
    Py_ssize_t calls = 0;
    if (PyArg_ParseTuple(args, "On", &array, &calls) == 0)
        return nullptr;
    for (Py_ssize_t i = 0; i < calls; ++i) {
        if (arrayToImplementation(array) == nullptr)
            return nullptr;
    }
    Py_RETURN_NONE;
}

PyMethodDef functions[] = {{"way_in", wayIn, METH_VARARGS, nullptr}, {nullptr, nullptr, 0, nullptr}};
PyModuleDef definition = {
    PyModuleDef_HEAD_INIT, "orvane_capsule_probe", nullptr, -1, functions, nullptr, nullptr, nullptr, nullptr};

} // namespace

PyMODINIT_FUNC PyInit_orvane_capsule_probe() {
    const auto* table = static_cast<void* const*>(PyCapsule_Import("orvanemultidimarrayforpython._capi", 0));
    if (table == nullptr)
        return nullptr;
    arrayToImplementation = reinterpret_cast<ArrayToImplementation>(table[1]);
    return PyModule_Create(&definition);
}
