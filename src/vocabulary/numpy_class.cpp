#include "vocabulary/numpy_class.hpp"

#include <cstring>

namespace orvane::python {

namespace {

/// The class once it was met; owned for the life of the process.
PyTypeObject* knownClass = nullptr;

/// Whether a type may be NumPy's class at all. What Python code made or could change is not: its items may be anything.
bool resembles(const PyTypeObject* type) {
    return PyType_HasFeature(const_cast<PyTypeObject*>(type), Py_TPFLAGS_IMMUTABLETYPE) &&
           std::strcmp(type->tp_name, "numpy.ndarray") == 0;
}

/// The class among the loaded modules, borrowed; null, with no error set, where there is none.
PyObject* lookUp() {
    PyObject* const modules = PyImport_GetModuleDict();
    PyObject* const numpy =
        modules != nullptr && PyDict_CheckExact(modules) ? PyDict_GetItemString(modules, "numpy") : nullptr;
    PyObject* const found = numpy != nullptr && PyModule_CheckExact(numpy)
                                ? PyDict_GetItemString(PyModule_GetDict(numpy), "ndarray")
                                : nullptr;
    return found;
}

} // namespace

bool isNumPyArrayClass(PyTypeObject* type) {
    if (type == knownClass)
        return true;
    if (knownClass != nullptr || !resembles(type) || lookUp() != reinterpret_cast<PyObject*>(type))
        return false;
    Py_INCREF(type);
    knownClass = type;
    return true;
}

} // namespace orvane::python
