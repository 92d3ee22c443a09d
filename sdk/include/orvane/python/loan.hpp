// Elements that Python goes on using, read and written in place.
#pragma once

#include <orvane/data.hpp>
#include <orvane/python/element.hpp>
#include <orvane/python/errors.hpp>
#include <orvane/python/exchange.hpp>
#include <orvane/python/from_python.hpp>

#include <cstddef>
#include <memory>
#include <type_traits>
#include <vector>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

namespace detail {

struct GiveBack {
    void operator()(const OrvaneLoan* loan) const noexcept { exchangeSlot()->giveBack(loan); }
};

} // namespace detail

/// The elements of a Python array or view, lent: of type `T`, constant when they are lent for reading. They are the
/// very ones that Python sees; nothing is copied. Move-only; given back by its destructor, on any thread, with the
/// interpreter lock or without.
///
/// As long as it lives the elements stay where they are, whatever Python does to the array, and the lock may be
/// released while they are worked on. Python's own reads and assignments go on meanwhile; as with NumPy's arrays, it is
/// the program's business that nobody writes what another thread is reading.
template <class T>
    requires PythonElement<std::remove_const_t<T>>
class LentElements {
public:
    /// Takes a loan of elements of type `T` over.
    explicit LentElements(const OrvaneLoan* loan) noexcept : m_loan(loan) {}

    /// The first element, or null where there are none.
    T* data() const noexcept { return static_cast<T*>(m_loan->elements); }
    /// How many elements there are.
    std::size_t size() const noexcept { return m_loan->elementCount; }
    /// 2 at least for an array, 1 at least for a view.
    std::size_t rank() const noexcept { return static_cast<std::size_t>(m_loan->rank); }

    /// The elements with their extents and strides; valid as long as the loan is.
    data::ColumnMajorSpan<T> span() const {
        std::vector<std::size_t> extents(m_loan->extents, m_loan->extents + m_loan->rank);
        std::vector<std::ptrdiff_t> strides(m_loan->strides, m_loan->strides + m_loan->rank);
        for (std::ptrdiff_t& stride : strides) {
            stride /= static_cast<std::ptrdiff_t>(sizeof(T));
        }
        return {data(), std::move(extents), std::move(strides)};
    }
    operator data::ColumnMajorSpan<T>() const { return span(); }

    /// Before the end of its life. Nothing of it is to be used afterwards.
    void giveBack() noexcept { m_loan.reset(); }

private:
    std::unique_ptr<const OrvaneLoan, detail::GiveBack> m_loan;
};

namespace detail {

template <class T>
LentElements<T> lendFor(PyObject* object, unsigned flags) {
    requireArray<std::remove_const_t<T>>(object);
    const OrvaneLoan* loan = exchange().lend(object, flags);
    if (loan == nullptr) {
        throw PythonError();
    }
    return LentElements<T>(loan);
}

} // namespace detail

/// The elements of an array or view for reading, with the strides that a view has. TypeError as by `fromPython`;
/// "too many indices." and IndexError for a view that a `reshape` has left without its elements. ImportError when the
/// package at hand is too old to lend.
template <PythonElement T>
LentElements<const T> lendElements(PyObject* object) {
    return detail::lendFor<const T>(object, 0);
}

/// The same in column-major order without gaps: a view that has gaps is gathered into a block of the loan's own.
template <PythonElement T>
LentElements<const T> lendContiguousElements(PyObject* object) {
    return detail::lendFor<const T>(object, ORVANE_LOAN_CONTIGUOUS);
}

/// The elements for writing: Python and all views see what is written, at once. What was cloned, exported from a view
/// or handed out before keeps its own elements; a data array that native code has is brought up to date when the loan
/// is given back.
template <PythonElement T>
LentElements<T> lendWritableElements(PyObject* object) {
    return detail::lendFor<T>(object, ORVANE_LOAN_WRITABLE);
}

/// The same in column-major order without gaps; ValueError for a view that has gaps.
template <PythonElement T>
LentElements<T> lendContiguousWritableElements(PyObject* object) {
    return detail::lendFor<T>(object, ORVANE_LOAN_WRITABLE | ORVANE_LOAN_CONTIGUOUS);
}

} // namespace python
} // namespace orvane
