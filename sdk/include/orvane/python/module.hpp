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
    std::array<PyTypeObject*, elementTypeCount> types{}; ///< in the order of the element table; owned
    std::array<PyObject*, elementTypeCount> kinds{};     ///< their descriptors of `_is_complex`; owned
    descrgetfunc readKind = nullptr;                     ///< how these are asked
};

inline Module& moduleSlot() noexcept {
    // No guarded initialisation: the import may let another thread run, which would then wait here for ever.
    static constinit Module module;
    return module;
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
    const auto attribute = [](const Reference& object, const char* name) {
        Reference value(PyObject_GetAttrString(object.get(), name));
        if (!value) {
            throw PythonError();
        }
        return value;
    };
    std::array<Reference, elementTypeCount> types;
    std::array<Reference, elementTypeCount> kinds;
    for (std::size_t i = 0; i < elementTypeCount; ++i) {
        types[i] = attribute(pythonModule, std::string(elementTable[i].name).c_str());
        kinds[i] = attribute(types[i], "_is_complex");
    }
    module.readKind = reinterpret_cast<descrgetfunc>(PyType_GetSlot(Py_TYPE(kinds[0].get()), Py_tp_descr_get));
    for (std::size_t i = 0; i < elementTypeCount; ++i) {
        module.types[i] = reinterpret_cast<PyTypeObject*>(types[i].release());
        module.kinds[i] = kinds[i].release();
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
    detail::module();
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
        // The attribute's own function is asked, not the library: an array that is handed out is copied once.
        const detail::Module& module = detail::module();
        const Reference isComplex(module.readKind(module.kinds[elementIndex<T>], object, nullptr));
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
