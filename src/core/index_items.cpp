#include "core/index_items.hpp"

#include <algorithm>
#include <limits>

#include "elements/integer_reading.hpp"
#include "vocabulary/caller_code.hpp"
#include "vocabulary/python_values.hpp"

namespace orvane::python {

namespace {

/// Reads a bound that is absent or an exact `int` within 64 bits. False for any other, with nothing raised.
bool readPlainBound(PyObject* bound, Py_ssize_t absent, Py_ssize_t& value) {
    if (bound == Py_None) {
        value = absent;
        return true;
    }
    long long number = 0;
    if (!PyLong_CheckExact(bound) || !readInteger(bound, number))
        return false;
    value = number;
    return true;
}

/// The short cut for the usual slices, of plain integers: nothing in them can be refused and no code runs.
bool readPlainSlice(PyObject* slice, UnpackedSlice& bounds) {
    const auto* object = reinterpret_cast<const PySliceObject*>(slice);
    if (!readPlainBound(object->step, 1, bounds.step) || bounds.step == 0 || bounds.step == PY_SSIZE_T_MIN)
        return false;
    const bool isDownward = bounds.step < 0;
    return readPlainBound(object->start, isDownward ? PY_SSIZE_T_MAX : 0, bounds.start) &&
           readPlainBound(object->stop, isDownward ? PY_SSIZE_T_MIN : PY_SSIZE_T_MAX, bounds.stop);
}

long longestStep(bool isNegative) {
    return isNegative ? std::numeric_limits<long>::min() : std::numeric_limits<long>::max();
}

} // namespace

bool IntegerIndexItem::normalize(long len) noexcept {
    if (m_index < 0)
        m_index += len;
    return m_index >= 0 && m_index < len;
}

SliceIndexItem SliceIndexItem::composedOnto(const SliceIndexItem& standing) const noexcept {
    const long places = standing.m_slice_len;
    if (places == 0)
        return standing;
    if (m_slice_len == 0)
        return {standing.m_start, standing.m_step, 0};
    SliceIndexItem composed;
    composed.m_start = standing.position(std::min(m_start, places - 1));
    composed.m_slice_len = std::min(m_slice_len, places);
    // A step beyond 64 bits leads from any place inside an array out of it, and so does the longest one that there is.
    if (__builtin_mul_overflow(m_step, standing.m_step, &composed.m_step))
        composed.m_step = longestStep((m_step < 0) != (standing.m_step < 0));
    return composed;
}

SliceIndexItem UnpackedSlice::measuredAgainst(long len) const noexcept {
    SliceIndexItem item;
    Py_ssize_t first = start;
    Py_ssize_t bound = stop;
    const Py_ssize_t places = PySlice_AdjustIndices(len, &first, &bound, step);
    if (places > 0)
        item = {first, step, places};
    return item;
}

std::optional<long> getIntegerIndexFromIndexObject(PyObject* integer) {
    const Py_ssize_t value = PyLong_AsSsize_t(integer);
    if (value == -1 && PyErr_Occurred() != nullptr)
        return std::nullopt;
    return value;
}

std::optional<UnpackedSlice> unpackSlice(PyObject* slice) {
    UnpackedSlice bounds{0, 0, 0};
    if (readPlainSlice(slice, bounds))
        return bounds;
    // The step is read first. Where it cannot be read, or is zero, it is left at 0.
    bounds = {0, 0, 0};
    const bool isRead = withRecursionCounted(
        false, [&] { return PySlice_Unpack(slice, &bounds.start, &bounds.stop, &bounds.step) == 0; });
    if (isRead)
        return bounds;
    if (bounds.step == 0)
        replaceError(PyExc_ValueError, "slice step cannot be zero.");
    return std::nullopt;
}

} // namespace orvane::python
