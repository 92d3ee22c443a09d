// The loan of a Python array to a handle of C++.
#pragma once

#include <orvane/data.hpp>
#include <orvane/python/errors.hpp>
#include <orvane/python/module.hpp>

#include <memory>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

namespace detail {

/// The array behind an object, lent: the handle holds a reference to the object. Throws as position 1 fails.
inline data::Array lend(PyObject* object) {
    void* impl = module().capsule->implOfArray(object);
    if (impl == nullptr) {
        throw PythonError();
    }
    Py_INCREF(object);
    // The last handle may go on any thread, with the lock or without, and after the interpreter's end.
    const auto dropObject = [object](data::impl::ArrayImpl*) noexcept {
        if (Py_IsInitialized()) {
            const PyGILState_STATE state = PyGILState_Ensure();
            Py_DECREF(object);
            PyGILState_Release(state);
        }
    };
    return data::Array(std::shared_ptr<data::impl::ArrayImpl>(static_cast<data::impl::ArrayImpl*>(impl), dropObject));
}

} // namespace detail

} // namespace python
} // namespace orvane
