// The interpreter's error indicator, kept safe while code runs that may disturb it.
#pragma once

#include <Python.h>

#include "vocabulary/ending_thread.hpp"

namespace orvane::python {

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
            if (PyErr_Occurred() != nullptr)
                PyErr_WriteUnraisable(nullptr);
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

/// A buffer acquired from an exporter, released on destruction with the pending error kept as it is.
class BufferView {
public:
    BufferView() noexcept = default;
    BufferView(const BufferView&) = delete;
    BufferView& operator=(const BufferView&) = delete;
    ~BufferView() {
        if (m_isHeld)
            detail::releaseAtScopeEnd([this] { release(); });
    }

    /// False with the exporter's error set when the request is refused.
    bool acquire(PyObject* exporter, int flags) {
        m_isHeld = PyObject_GetBuffer(exporter, &m_view, flags) == 0;
        return m_isHeld;
    }
    void release() {
        if (m_isHeld) {
            const PendingError kept;
            m_isHeld = false;
            PyBuffer_Release(&m_view);
        }
    }
    const Py_buffer& operator*() const noexcept { return m_view; }
    const Py_buffer* operator->() const noexcept { return &m_view; }

private:
    Py_buffer m_view{};
    bool m_isHeld = false;
};

} // namespace orvane::python
