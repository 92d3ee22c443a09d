// What runs when Python imports the module.
#include <Python.h>

#include "module/array_types.hpp"
#include "native_api/capsule.hpp"
#include "vocabulary/export.hpp"
#include "vocabulary/py_ref.hpp"
#include "vocabulary/python_values.hpp"
#include "vocabulary/type_objects.hpp"

namespace OCPyError {
PyObject* shapeErr = nullptr;
PyObject* sizeErr = nullptr;
} // namespace OCPyError

namespace orvane::python {

PyObject* ArrayArray::s_arrayClass = nullptr;
bool ArrayArray::s_isInterpretersOwn = false;

namespace {

/// Whether a class itself, not one that it derives from, has a method that is written in C.
bool definesInC(PyObject* type, const char* method) {
    const PyRef descriptor = PyRef::steal(PyObject_GetAttrString(type, method));
    PyErr_Clear();
    return descriptor && Py_IS_TYPE(descriptor.get(), &PyMethodDescr_Type) &&
           reinterpret_cast<PyObject*>(PyDescr_TYPE(descriptor.get())) == type;
}

} // namespace

bool ArrayArray::loadArrayClass() {
    if (s_arrayClass != nullptr)
        return true;
    const PyRef module = PyRef::steal(PyImport_ImportModule("array"));
    if (!module) {
        setError(PyExc_RuntimeError, "unable to import array module.");
        return false;
    }
    PyRef arrayClass = PyRef::steal(PyObject_GetAttrString(module.get(), "array"));
    if (!arrayClass) {
        setError(PyExc_RuntimeError, "unable to retrieve array.array class.");
        return false;
    }
    if (!PyCallable_Check(arrayClass.get())) {
        setError(PyExc_RuntimeError, "array.array class is not callable.");
        return false;
    }
    s_isInterpretersOwn = definesInC(arrayClass.get(), "frombytes");
    s_arrayClass = arrayClass.release();
    return true;
}

namespace {

/// The types are static, and they and what is kept beside them belong to the interpreter that readied them first: not
/// to another one, and not to one that is started after that has ended.
bool belongsToThisInterpreter() {
    static const std::int64_t owner = PyInterpreterState_GetID(PyInterpreterState_Get());
    static bool hasEnded = false;
    [[maybe_unused]] static const int isWatched = Py_AtExit([] { hasEnded = true; });
    if (!hasEnded && PyInterpreterState_GetID(PyInterpreterState_Get()) == owner)
        return true;
    setError(PyExc_ImportError,
             "orvanemultidimarrayforpython belongs to the interpreter of this process that imported it "
             "first and cannot be loaded into a second one.");
    return false;
}

/// Exceptions are made once in a process: a module that is imported anew offers the same ones.
bool addException(PyObject* module, const char* name, const char* dottedName, PyObject*& exception) {
    if (exception == nullptr)
        exception = PyErr_NewException(dottedName, nullptr, nullptr);
    return exception != nullptr && PyModule_AddObjectRef(module, name, exception) == 0;
}

int fillModule(PyObject* module) {
    if (!belongsToThisInterpreter() || !ArrayArray::loadArrayClass() || init_types(module) == nullptr)
        return -1;
    if (!addException(module, "ShapeError", "ovexceptions.ShapeError", OCPyError::shapeErr) ||
        !addException(module, "SizeError", "ovexceptions.SizeError", OCPyError::sizeErr))
        return -1;
    const PyRef capsule = PyRef::steal(OCPyArrayAPI::newCapsule());
    return capsule ? PyModule_AddObjectRef(module, "_capi", capsule.get()) : -1;
}

PyModuleDef_Slot moduleSlots[] = {
    {Py_mod_exec, reinterpret_cast<void*>(fillModule)},
#if PY_VERSION_HEX >= 0x030C0000
    {Py_mod_multiple_interpreters, Py_MOD_MULTIPLE_INTERPRETERS_NOT_SUPPORTED},
#endif
    {0, nullptr},
};

// Filled in a phase of its own, so that an import into a second interpreter comes by `fillModule` and can be refused.
PyModuleDef moduleDefinition = {
    PyModuleDef_HEAD_INIT,
    "orvanemultidimarrayforpython",
    "orvanemultidimarrayforpython",
    0,
    nullptr,
    moduleSlots,
    nullptr,
    nullptr,
    nullptr,
};

} // namespace

} // namespace orvane::python

PyMODINIT_FUNC PyInit_orvanemultidimarrayforpython() {
    return PyModuleDef_Init(&orvane::python::moduleDefinition);
}
