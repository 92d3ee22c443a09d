// The module `orvane._bridge`.
#include "functions.hpp"
#include "shown_memory.hpp"

namespace {

using namespace orvane;

PyMethodDef methods[] = {
    {"adopt", bridge::adopt, METH_VARARGS,
     "adopt($module, source, format, size, /)\n--\n\nAn array around the memory of another object."},
    {"copy_memory", bridge::copyMemory, METH_VARARGS,
     "copy_memory($module, source, format, size, /)\n--\n\nAn array of its own with the elements in the memory of "
     "another object."},
    {"copy", bridge::copy, METH_O,
     "copy($module, array, /)\n--\n\nAn array of its own with the elements that an array or view shows."},
    {"to_capsule", bridge::toCapsule, METH_VARARGS,
     "to_capsule($module, array, versioned, writable, copy, /)\n--\n\nThe DLPack tensor of an array or view."},
    {"from_capsule", bridge::fromCapsule, METH_VARARGS,
     "from_capsule($module, capsule, copy, /)\n--\n\nAn array of a DLPack tensor."},
    {"check_capsule", bridge::checkCapsule, METH_O,
     "check_capsule($module, capsule, /)\n--\n\nBufferError for a DLPack tensor that contradicts itself."},
    {nullptr, nullptr, 0, nullptr},
};

int fill(PyObject* module) {
    bridge::exchange = Orvane_ImportExchange();
    if (bridge::exchange == nullptr) {
        return -1;
    }
    const auto add = [module](const char* name, PyObject* made) {
        const python::Reference type(made);
        return type && PyModule_AddObjectRef(module, name, type.get()) == 0;
    };
    return add("Elements", bridge::makeElementsType()) && add("Shown", bridge::makeShownType()) ? 0 : -1;
}

PyModuleDef_Slot slots[] = {
    {Py_mod_exec, reinterpret_cast<void*>(fill)},
#if PY_VERSION_HEX >= 0x030C0000
    {Py_mod_multiple_interpreters, Py_MOD_MULTIPLE_INTERPRETERS_NOT_SUPPORTED},
#endif
    {0, nullptr},
};

PyModuleDef definition = {PyModuleDef_HEAD_INIT,
                          "orvane._bridge",
                          "Memory of arrays for others, and memory of others for arrays.",
                          0,
                          methods,
                          slots,
                          nullptr,
                          nullptr,
                          nullptr};

} // namespace

PyMODINIT_FUNC PyInit__bridge() {
    return PyModuleDef_Init(&definition);
}
