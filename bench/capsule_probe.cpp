// A Python module that is a client of the arrays' capsule, as another native extension would be.
#include <orvane/python.hpp>

namespace {

const OrvaneCapsule* capsule = nullptr;

/// way_in(array, calls): asks for the implementation behind `array` so many times, as a native function does with
/// each of its arguments.
PyObject* wayIn(PyObject*, PyObject* args) {
    PyObject* array = nullptr;
    Py_ssize_t calls = 0;
    if (PyArg_ParseTuple(args, "On", &array, &calls) == 0)
        return nullptr;
    for (Py_ssize_t i = 0; i < calls; ++i) {
        if (capsule->implOfArray(array) == nullptr)
            return nullptr;
    }
    Py_RETURN_NONE;
}

/// typed_way_in(array, calls): the same as a C++ client does it, with the type check and a handle that is dropped
/// again.
PyObject* typedWayIn(PyObject*, PyObject* args) {
    PyObject* array = nullptr;
    Py_ssize_t calls = 0;
    if (PyArg_ParseTuple(args, "On", &array, &calls) == 0)
        return nullptr;
    return orvane::python::guarded([&] {
        for (Py_ssize_t i = 0; i < calls; ++i)
            orvane::python::fromPython<double>(array);
        return Py_NewRef(Py_None);
    });
}

PyMethodDef functions[] = {{"way_in", wayIn, METH_VARARGS, nullptr},
                           {"typed_way_in", typedWayIn, METH_VARARGS, nullptr},
                           {nullptr, nullptr, 0, nullptr}};
PyModuleDef definition = {
    PyModuleDef_HEAD_INIT, "orvane_capsule_probe", nullptr, -1, functions, nullptr, nullptr, nullptr, nullptr};

} // namespace

PyMODINIT_FUNC PyInit_orvane_capsule_probe() {
    capsule = Orvane_ImportCapsule();
    if (capsule == nullptr)
        return nullptr;
    return PyModule_Create(&definition);
}
