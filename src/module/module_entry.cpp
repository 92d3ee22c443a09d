// What runs when Python imports the module.
#include <Python.h>

#include <cstdint>
#include <optional>

#include "module/array_types.hpp"
#include "native_api/capsule.hpp"
#include "vocabulary/error_state.hpp"
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

bool isMemoryErrorPending() {
    return PyErr_Occurred() != nullptr && PyErr_ExceptionMatches(PyExc_MemoryError) != 0;
}

/// Raises RuntimeError in place of whatever went wrong, want of memory excepted.
bool refuseStart(const char* message) {
    if (!isMemoryErrorPending())
        setError(PyExc_RuntimeError, message);
    return false;
}

/// Whether a class itself, not one that it derives from, has a method that is written in C. An error that stays
/// pending is want of memory.
bool definesInC(PyObject* type, const char* method) {
    const PyRef descriptor = PyRef::steal(PyObject_GetAttrString(type, method));
    if (!isMemoryErrorPending())
        PyErr_Clear();
    return descriptor && Py_IS_TYPE(descriptor.get(), &PyMethodDescr_Type) &&
           reinterpret_cast<PyObject*>(PyDescr_TYPE(descriptor.get())) == type;
}

} // namespace

bool ArrayArray::loadArrayClass() {
    if (s_arrayClass != nullptr)
        return true;
    const PyRef module = PyRef::steal(PyImport_ImportModule("array"));
    if (!module)
        return refuseStart("unable to import array module.");
    PyRef arrayClass = PyRef::steal(PyObject_GetAttrString(module.get(), "array"));
    if (!arrayClass)
        return refuseStart("unable to retrieve array.array class.");
    if (!PyCallable_Check(arrayClass.get()))
        return refuseStart("array.array class is not callable.");
    s_isInterpretersOwn = definesInC(arrayClass.get(), "frombytes");
    if (isMemoryErrorPending())
        return false;
    s_arrayClass = arrayClass.release();
    return true;
}

namespace {

/// The types are static, and they and what is kept beside them belong to the interpreter in which the module was
/// started first: not to another one, and not to one that is started after that has ended.
struct Owner {
    std::int64_t interpreter;
    bool hasEnded;
};
std::optional<Owner> owner;

bool belongsToThisInterpreter() {
    if (!owner || (!owner->hasEnded && PyInterpreterState_GetID(PyInterpreterState_Get()) == owner->interpreter))
        return true;
    setError(PyExc_ImportError,
             "orvanemultidimarrayforpython belongs to the interpreter of this process that imported it "
             "first and cannot be loaded into a second one.");
    return false;
}

/// Arrays rely on the interpreter's lock. A free-threaded build enables it for a module that does not say to do
/// without, so it is missing only where PYTHON_GIL or -X gil has forbidden it.
bool runsUnderTheLock() {
#ifdef Py_GIL_DISABLED
    PyObject* const isEnabled = PySys_GetObject("_is_gil_enabled"); // borrowed
    const PyRef answer = PyRef::steal(isEnabled != nullptr ? PyObject_CallNoArgs(isEnabled) : Py_NewRef(Py_True));
    if (!answer || answer.get() == Py_True)
        return static_cast<bool>(answer);
    setError(PyExc_ImportError,
             "orvanemultidimarrayforpython needs the interpreter's lock, which PYTHON_GIL=0 or -X gil=0 keeps off.");
    return false;
#else
    return true;
#endif
}

/// What is made once in a process, so that a module that is imported anew offers the same. Owned.
PyObject* capsule = nullptr;

bool makeLastingObjects() {
    using namespace OCPyError;
    if (!ArrayArray::loadArrayClass())
        return false;
    if (shapeErr == nullptr)
        shapeErr = PyErr_NewException("ovexceptions.ShapeError", nullptr, nullptr);
    if (sizeErr == nullptr && shapeErr != nullptr)
        sizeErr = PyErr_NewException("ovexceptions.SizeError", nullptr, nullptr);
    if (capsule == nullptr && sizeErr != nullptr)
        capsule = OCPyArrayAPI::newCapsule();
    return capsule != nullptr;
}

/// A start that failed keeps nothing: the process is free for another interpreter.
void dropLastingObjects() {
    const PendingError kept;
    for (PyObject** object : {&ArrayArray::s_arrayClass, &OCPyError::shapeErr, &OCPyError::sizeErr, &capsule})
        Py_CLEAR(*object);
}

int fillModule(PyObject* module) {
    if (!belongsToThisInterpreter() || !runsUnderTheLock())
        return -1;
    if (!makeLastingObjects() || init_types(module) == nullptr ||
        PyModule_AddObjectRef(module, "ShapeError", OCPyError::shapeErr) < 0 ||
        PyModule_AddObjectRef(module, "SizeError", OCPyError::sizeErr) < 0 ||
        PyModule_AddObjectRef(module, "_capi", capsule) < 0) {
        if (!owner)
            dropLastingObjects();
        return -1;
    }
    if (!owner) {
        owner = {PyInterpreterState_GetID(PyInterpreterState_Get()), false};
        Py_AtExit([] { owner->hasEnded = true; });
    }
    return 0;
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
