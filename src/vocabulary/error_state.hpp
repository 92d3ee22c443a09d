// What is held for a while and released with the pending error kept as it is.
#pragma once

#include <Python.h>

#include "vocabulary/ending_thread.hpp"
#include "vocabulary/pending_error.hpp"

namespace orvane::python {

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

    /// False with the exporter's error set when the request is refused, and when it leaves one although it is not.
    bool acquire(PyObject* exporter, int flags) {
        m_isHeld = PyObject_GetBuffer(exporter, &m_view, flags) == 0;
        if (m_isHeld && PyErr_Occurred() != nullptr) [[unlikely]]
            release();
        return m_isHeld;
    }
    void release() {
        if (m_isHeld) {
            const PendingError kept;
            m_isHeld = false;
            PyBuffer_Release(&m_view);
        }
    }
    explicit operator bool() const noexcept { return m_isHeld; }
    const Py_buffer& operator*() const noexcept { return m_view; }
    const Py_buffer* operator->() const noexcept { return &m_view; }

private:
    Py_buffer m_view{};
    bool m_isHeld = false;
};

} // namespace orvane::python
