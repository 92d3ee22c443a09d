// Python's arrays themselves, with their element type.
#pragma once

#include <orvane/python/element.hpp>
#include <orvane/python/from_python.hpp>
#include <orvane/python/loan.hpp>
#include <orvane/python/reference.hpp>

#include <utility>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

/// A Python array or view of element type `T`: the very object, not its elements. To give back what came, to keep an
/// array across calls and to lend its elements when they are wanted. Move-only; empty when default-constructed or moved
/// from. It needs the interpreter lock where it is made and where it goes.
template <PythonElement T>
class ArrayObject {
public:
    ArrayObject() = default;
    /// TypeError as by `fromPython`.
    explicit ArrayObject(PyObject* object) {
        detail::requireArray<T>(object);
        Py_INCREF(object);
        m_object.reset(object);
    }
    explicit ArrayObject(Reference object) {
        detail::requireArray<T>(object.get());
        m_object = std::move(object);
    }

    explicit operator bool() const noexcept { return m_object != nullptr; }
    /// Borrowed; null when empty.
    PyObject* get() const noexcept { return m_object.get(); }
    /// The reference, given away.
    Reference release() noexcept { return std::move(m_object); }

    /// As `lendElements` and `lendWritableElements`. TypeError when empty.
    LentElements<const T> lend() const { return lendElements<T>(get()); }
    LentElements<T> lendWritable() const { return lendWritableElements<T>(get()); }

private:
    Reference m_object;
};

} // namespace python
} // namespace orvane
