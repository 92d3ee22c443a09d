// Owned references to Python objects.
#pragma once

#include <orvane/python/ending_thread.hpp>

#include <memory>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

namespace detail {

struct DropReference {
    void operator()(PyObject* object) const noexcept {
        releaseAtScopeEnd([object] { Py_DECREF(object); });
    }
};

} // namespace detail

/// An owned reference to a Python object, or none. `release()` gives it away. It needs the interpreter lock where it
/// goes; on a thread that the interpreter ends it leaves the object alone.
using Reference = std::unique_ptr<PyObject, detail::DropReference>;

} // namespace python
} // namespace orvane
