// Elements that Python goes on using, read and written in place.
#pragma once

#include <orvane/data.hpp>
#include <orvane/python/element.hpp>
#include <orvane/python/errors.hpp>
#include <orvane/python/exchange.hpp>
#include <orvane/python/from_python.hpp>

#include <cstddef>
#include <memory>
#include <span>
#include <stdexcept>
#include <type_traits>
#include <utility>

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
    /// Takes a loan of elements of type `T` over, whatever table it comes from.
    explicit LentElements(const OrvaneLoan* loan) {
        detail::exchange(); // which gives it back
        m_loan.reset(loan);
    }

    /// The first element, or null where there are none.
    T* data() const noexcept { return static_cast<T*>(m_loan->elements); }
    /// How many elements there are.
    std::size_t size() const noexcept { return m_loan->elementCount; }
    /// 2 at least for an array, 1 at least for a view.
    std::size_t rank() const noexcept { return static_cast<std::size_t>(m_loan->rank); }
    /// 1 beyond the last dimension.
    std::size_t extent(std::size_t dimension) const noexcept {
        return dimension < rank() ? static_cast<std::size_t>(m_loan->extents[dimension]) : 1;
    }
    /// In elements.
    std::ptrdiff_t stride(std::size_t dimension) const noexcept {
        return dimension < rank() ? m_loan->strides[dimension] / static_cast<std::ptrdiff_t>(sizeof(T))
                                  : static_cast<std::ptrdiff_t>(size());
    }
    /// Whether the elements stand in column-major order without gaps.
    bool isContiguous() const noexcept {
        std::size_t gapless = 1;
        for (std::size_t d = 0; d < rank(); ++d) {
            if (extent(d) > 1 && stride(d) != static_cast<std::ptrdiff_t>(gapless)) {
                return size() == 0;
            }
            gapless *= extent(d);
        }
        return true;
    }

    /// The elements with their extents and strides; valid as long as the loan is. A fixed rank is filled up with
    /// extents of 1; `std::invalid_argument` when there are more dimensions.
    template <std::size_t Rank = std::dynamic_extent>
    data::ColumnMajorSpan<T, Rank> span() const {
        typename data::ColumnMajorSpan<T, Rank>::Extents extents{};
        typename data::ColumnMajorSpan<T, Rank>::Strides strides{};
        if constexpr (Rank == std::dynamic_extent) {
            extents.resize(rank());
            strides.resize(rank());
        } else if (rank() > Rank) {
            throw std::invalid_argument("the array has more dimensions than the span");
        }
        for (std::size_t d = 0; d < extents.size(); ++d) {
            extents[d] = extent(d);
            strides[d] = stride(d);
        }
        return {data(), std::move(extents), std::move(strides)};
    }
    template <std::size_t Rank>
    operator data::ColumnMajorSpan<T, Rank>() const {
        return span<Rank>();
    }

    /// Before the end of its life. Nothing of it is to be used afterwards.
    void giveBack() noexcept { m_loan.reset(); }

    /// The loan itself, to be given back by the caller.
    const OrvaneLoan* release() noexcept { return m_loan.release(); }

private:
    std::unique_ptr<const OrvaneLoan, detail::GiveBack> m_loan;
};

namespace detail {

/// As `isArray<T>`, asked of the table.
template <PythonElement T>
bool isOfKindOf(PyObject* object) {
    return exchange().kindOf(object) == arrayTypeNumber<T>;
}

template <class T>
LentElements<T> lendFor(PyObject* object, unsigned flags) {
    using Element = std::remove_const_t<T>;
    if (!isOfKindOf<Element>(object)) {
        requireArray<Element>(object); // says what came
    }
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
/// Signals are answered meanwhile; what their handlers raise is a `PythonError`.
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
