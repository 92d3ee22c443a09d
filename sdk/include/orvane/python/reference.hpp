// Owned references to Python objects.
#pragma once

#include <Python.h>

#include <memory>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

namespace detail {

struct DropReference {
    void operator()(PyObject* object) const noexcept { Py_DECREF(object); }
};

} // namespace detail

/// An owned reference to a Python object, or none. `release()` gives it away.
using Reference = std::unique_ptr<PyObject, detail::DropReference>;

} // namespace python
} // namespace orvane
