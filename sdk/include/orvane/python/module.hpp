// Orvane's module as other modules see it: the capsule and the eleven types.
#pragma once

#include <orvane/capsule.h>
#include <orvane/python/element.hpp>
#include <orvane/python/errors.hpp>
#include <orvane/python/reference.hpp>

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

namespace detail {

/// What this layer needs of Orvane's module, fetched once per client module and kept to the end of the process.
struct Module {
    const OrvaneCapsule* capsule = nullptr;
    std::array<PyTypeObject*, elementTypeCount> types{}; ///< in the order of the element table; owned
};

inline Module& moduleSlot() noexcept {
    // No guarded initialisation: the import may let another thread run, which would then wait here for ever.
    static constinit Module module;
    return module;
}

inline Module importModule() {
    Module module;
    module.capsule = Orvane_ImportCapsule();
    if (module.capsule == nullptr) {
        throw PythonError();
    }
    constexpr std::string_view path = ORVANE_CAPSULE_NAME;
    const std::string moduleName(path.substr(0, path.rfind('.')));
    const Reference pythonModule(PyImport_ImportModule(moduleName.c_str()));
    if (!pythonModule) {
        throw PythonError();
    }
    std::array<Reference, elementTypeCount> types;
    for (std::size_t i = 0; i < elementTypeCount; ++i) {
        types[i] = Reference(PyObject_GetAttrString(pythonModule.get(), std::string(elementTable[i].name).c_str()));
        if (!types[i]) {
            throw PythonError();
        }
    }
    for (std::size_t i = 0; i < elementTypeCount; ++i) {
        module.types[i] = reinterpret_cast<PyTypeObject*>(types[i].release());
    }
    return module;
}

inline const Module& module() {
    Module& slot = moduleSlot();
    if (slot.capsule == nullptr) [[unlikely]] {
        slot = importModule();
    }
    return slot;
}

template <PythonElement T>
bool isOfTypeOf(PyObject* object) {
    return object != nullptr && Py_TYPE(object) == module().types[elementIndex<T>];
}

/// Whether the elements of an array are complex. Asked before the array is handed out, which costs a copy once.
inline bool isComplexArray(PyObject* array) {
    const Reference answer(PyObject_GetAttrString(array, "_is_complex"));
    if (!answer) {
        throw PythonError();
    }
    return answer.get() == Py_True;
}

} // namespace detail

/// Whether an object is an array of any of the eleven types; false for null.
inline bool isArray(PyObject* object) {
    if (object == nullptr) {
        return false;
    }
    for (const PyTypeObject* type : detail::module().types) {
        if (Py_TYPE(object) == type) {
            return true;
        }
    }
    return false;
}

} // namespace python
} // namespace orvane
