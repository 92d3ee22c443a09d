// Owning references to Python objects.
#pragma once

#include <Python.h>

#include "vocabulary/ending_thread.hpp"

#include <utility>

namespace orvane::python {

/// One owned reference, or none. The interpreter lock must be held wherever a reference is taken or dropped; a thread
/// that the interpreter ends keeps what it has.
class PyRef {
public:
    PyRef() noexcept = default;
    PyRef(PyRef&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    PyRef(const PyRef& other) noexcept : m_object(other.m_object) { Py_XINCREF(m_object); }
    PyRef& operator=(PyRef other) {
        PyObject* const former = std::exchange(m_object, other.release());
        Py_XDECREF(former);
        return *this;
    }
    ~PyRef() {
        if (m_object != nullptr)
            detail::releaseAtScopeEnd([this] { Py_DECREF(m_object); });
    }

    /// Takes over a new reference; null stays null.
    [[nodiscard]] static PyRef steal(PyObject* object) noexcept { return PyRef(object); }
    /// Adds a reference of its own to a borrowed one; null stays null.
    [[nodiscard]] static PyRef borrow(PyObject* object) noexcept {
        Py_XINCREF(object);
        return PyRef(object);
    }

    PyObject* get() const noexcept { return m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }
    /// Gives the reference away.
    [[nodiscard]] PyObject* release() noexcept { return std::exchange(m_object, nullptr); }

private:
    explicit PyRef(PyObject* object) noexcept : m_object(object) {}
    PyObject* m_object = nullptr;
};

} // namespace orvane::python
