// The records that subscripts leave behind, and how a Python integer or slice becomes one.
#pragma once

#include <Python.h>

#include <optional>

namespace orvane::python {

/// One position in a dimension; raw, and possibly negative, until normalised.
struct IntegerIndexItem {
    long m_index = 0;

    /// Counts a negative index from the end of a dimension of length `len`. False, with nothing raised, when
    /// the index lies outside: the callers raise in their own words.
    bool normalize(long len) noexcept;
};

/// The positions start, start + step, ... that a slice selects in a dimension, `m_slice_len` of them. The
/// exclusive bound that slices carry in Python follows from these three and is not kept.
struct SliceIndexItem {
    long m_start = 0;
    long m_step = 1; ///< never 0
    long m_slice_len = 0;

    /// The position at `place`. A place beyond the slice may give any number: the arithmetic wraps.
    long position(long place) const noexcept {
        return static_cast<long>(static_cast<unsigned long>(m_start) +
                                 static_cast<unsigned long>(place) * static_cast<unsigned long>(m_step));
    }

    /// This slice, read in the coordinates of `standing`, as one slice in the coordinates that `standing` has.
    /// It may have been measured against something longer than `standing`: its start is then drawn in to
    /// the last place, and it keeps as many positions as `standing` has at the most. An empty `standing`
    /// stays as it is, whatever is asked of it. A step that 64 bits do not hold becomes the longest of its sign.
    SliceIndexItem composedOnto(const SliceIndexItem& standing) const noexcept;
};

/// The bounds of a Python slice, read but not yet measured.
struct UnpackedSlice {
    Py_ssize_t start;
    Py_ssize_t stop;
    Py_ssize_t step; ///< never 0

    /// What the bounds select in a dimension of length `len`, clipped as the interpreter's slices are. An empty
    /// selection is always start 0, step 1, length 0.
    SliceIndexItem measuredAgainst(long len) const noexcept;
};

/// The value of an `int` or of an instance of a subclass (`True` counts as 1); nothing, with the interpreter's
/// OverflowError set, beyond 64 bits.
std::optional<long> getIntegerIndexFromIndexObject(PyObject* integer);

/// Reads the bounds of a slice object. Nothing with an error set on failure: ValueError for a step that is zero
/// or cannot be read, the interpreter's own error for a bad start or stop. Code of the caller's may run, in the
/// `__index__` of a bound; so whatever the slice is measured against must be looked at afterwards.
std::optional<UnpackedSlice> unpackSlice(PyObject* slice);

} // namespace orvane::python
