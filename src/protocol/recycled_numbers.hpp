// Number objects that serve an iteration more than once.
#pragma once

#include <Python.h>

#include <complex>
#include <type_traits>
#include <utility>

#include "protocol/element_objects.hpp"
#include "vocabulary/py_ref.hpp"

namespace orvane::python {

/// The last two numbers that an iteration has yielded. A loop lets go of a number when it takes the next one; so by the
/// time another is due, the last but one often belongs to the iteration alone, and gets its next value in place of
/// being freed and made anew. The interpreter's `zip` and `enumerate` do the same with their tuples.
class RecycledNumbers {
public:
    /// The Python number of an element. New reference, or null with an error set.
    template <class T>
    PyObject* numberFor(const T& element) {
        if constexpr (isRecyclable<T>) {
            PyRef& oldest = m_lastTwo[m_oldest];
            m_oldest = 1 - m_oldest;
            if (oldest && Py_REFCNT(oldest.get()) == 1) {
                assign(oldest.get(), element);
            } else {
                PyRef made = PyRef::steal(toPyObject(element));
                if (!made)
                    return nullptr; // raising the error may have run code that lets go of the iterator, and of this
                oldest = std::move(made);
            }
            return Py_NewRef(oldest.get());
        } else {
            return toPyObject(element);
        }
    }

private:
#ifdef Py_GIL_DISABLED
    static constexpr bool countsTellAll = false; // references may be counted elsewhere
#else
    static constexpr bool countsTellAll = true;
#endif
    /// Whether the numbers are objects whose value C code may set. Integers are not.
    template <class T>
    static constexpr bool isRecyclable = countsTellAll && (isComplexElement<T> || std::is_floating_point_v<T>);

    template <class Real>
    static void assign(PyObject* number, Real element) noexcept {
        reinterpret_cast<PyFloatObject*>(number)->ob_fval = static_cast<double>(element);
    }
    template <class Real>
    static void assign(PyObject* number, const std::complex<Real>& element) noexcept {
        reinterpret_cast<PyComplexObject*>(number)->cval = {static_cast<double>(element.real()),
                                                            static_cast<double>(element.imag())};
    }

    PyRef m_lastTwo[2];
    unsigned m_oldest = 0;
};

} // namespace orvane::python
