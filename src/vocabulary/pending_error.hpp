// The pending error of the interpreter, kept safe while code of others runs.
#pragma once

#include <Python.h>

#include "ending_thread.hpp"

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

namespace detail {

/// Reports the pending error, if there is one, as what nobody can handle.
inline void reportPendingError() {
    if (PyErr_Occurred() != nullptr)
        PyErr_WriteUnraisable(nullptr);
}

} // namespace detail

/// Takes the pending error (or its absence) away on construction and puts it back on destruction. For releases on the
/// way out of a failure that may run code of others': an error that this leaves behind is reported as what nobody
/// can handle.
class PendingError {
public:
    PendingError() noexcept {
        if (detail::mayTouchPython())
            PyErr_Fetch(&m_type, &m_value, &m_traceback);
    }
    ~PendingError() {
        detail::releaseAtScopeEnd([this] {
            detail::reportPendingError();
            PyErr_Restore(m_type, m_value, m_traceback);
        });
    }
    PendingError(const PendingError&) = delete;
    PendingError& operator=(const PendingError&) = delete;

private:
    PyObject* m_type = nullptr;
    PyObject* m_value = nullptr;
    PyObject* m_traceback = nullptr;
};

} // namespace python
} // namespace orvane
