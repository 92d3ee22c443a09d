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

/// What stands under a name in a dictionary, borrowed; null, with no error set, where there is nothing. The dictionary
/// itself would ask keys of other classes than `str` whether they are equal, which is code of the caller's.
PyObject* find(PyObject* dictionary, const char* name) {
    PyObject* key = nullptr;
    PyObject* value = nullptr;
    for (Py_ssize_t place = 0; PyDict_Next(dictionary, &place, &key, &value) != 0;) {
        if (PyUnicode_CheckExact(key) && PyUnicode_CompareWithASCIIString(key, name) == 0)
            return value;
    }
    return nullptr;
}

/// The class among the loaded modules, borrowed; null, with no error set, where there is none.
PyObject* lookUp() {
    PyObject* const modules = PyImport_GetModuleDict();
    PyObject* const numpy = modules != nullptr && PyDict_CheckExact(modules) ? find(modules, "numpy") : nullptr;
    return numpy != nullptr && PyModule_CheckExact(numpy) ? find(PyModule_GetDict(numpy), "ndarray") : nullptr;
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
