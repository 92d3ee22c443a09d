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
#include <type_traits>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

namespace detail {

/// What this layer needs of Orvane's module, fetched once per client module and kept to the end of the process.
struct Module {
    const OrvaneCapsule* capsule = nullptr;
    std::array<PyTypeObject*, elementTypeCount> types{};      ///< in the order of the element table; owned
    std::array<const PyGetSetDef*, elementTypeCount> kinds{}; ///< their attributes `_is_complex`
};

inline Module& moduleSlot() noexcept {
    // No guarded initialisation: the import may let another thread run, which would then wait here for ever.
    static constinit Module module;
    return module;
}

/// The type's own attribute of that name, whose function is called without looking the name up.
inline const PyGetSetDef* attributeOf(PyObject* type, std::string_view name) {
    const bool isType = PyType_Check(type) != 0;
    auto* attribute = static_cast<const PyGetSetDef*>(
        isType ? PyType_GetSlot(reinterpret_cast<PyTypeObject*>(type), Py_tp_getset) : nullptr);
    while (attribute != nullptr && attribute->name != nullptr && attribute->name != name) {
        ++attribute;
    }
    if (attribute == nullptr || attribute->name == nullptr) {
        PyErr_SetString(PyExc_ImportError, "these are not the types that the module was built for");
        throw PythonError();
    }
    return attribute;
}

inline Module importModule() {
    registerPendingTranslator();
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
        module.kinds[i] = attributeOf(types[i].get(), "_is_complex");
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

} // namespace detail

/// Fetches Orvane's module now, where otherwise the first use does it. Best done in the initialisation of the client's
/// module: a package that is missing is told there, and a binding library knows this layer's errors from then on.
inline void importOrvane() {
    try {
        detail::module();
    } catch (const PythonError& error) {
        error.keepWords(); // binding libraries make an ImportError of `what`
        throw;
    }
}

/// Whether an object is an array of that element type, real or complex as `T` is; false for null.
template <PythonElement T>
bool isArray(PyObject* object) {
    if (!detail::isOfTypeOf<T>(object)) {
        return false;
    }
    if constexpr (std::is_same_v<T, bool>) {
        return true;
    } else {
        // Python is asked, not the library: an array that is handed out is copied once.
        const PyGetSetDef& kind = *detail::module().kinds[elementIndex<T>];
        const Reference isComplex(kind.get(object, kind.closure));
        if (!isComplex) {
            throw PythonError();
        }
        return (isComplex.get() == Py_True) == isComplexElement<T>;
    }
}

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
