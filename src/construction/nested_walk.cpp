#include "construction/nested_walk.hpp"

#include <algorithm>
#include <span>

#include "core/array_object.hpp"
#include "core/selection.hpp"
#include "vocabulary/extents.hpp"
#include "vocabulary/python_values.hpp"

namespace orvane::python {

namespace {

bool raiseNotRectangular() {
    setError(PyExc_ValueError, "arrays must be rectangular.");
    return false;
}

bool raiseNoItem() {
    replaceError(PyExc_RuntimeError, "null data pointer.");
    return false;
}

/// An array of this module that has items; null for any other object.
const OCppPyArray* ownArrayOrNull(PyObject* value) {
    const OCppPyArray* array = OCPyArray_Check(value) ? getOCPyArrayFromPyObject(value)->m_cppArray : nullptr;
    return array != nullptr && array->hasActiveDimension() ? array : nullptr;
}

/// The length of `sequence`, with its items compared. False with an error set.
bool measureSequence(PyObject* sequence, Py_ssize_t& length) {
    if (PyRange_Check(sequence) || PyBytes_CheckExact(sequence) || PyByteArray_CheckExact(sequence)) {
        // All their items are integers, so there is nothing to compare; a range may be of any length.
        length = PySequence_Size(sequence);
        return length >= 0;
    }
    const SequenceLength measured = getLengthOfPySequence(sequence);
    length = measured.length;
    if (!measured.isRectangular) {
        setError(PyExc_ValueError, "elements of array are of different lengths or types.");
        return false;
    }
    return length >= 0;
}

/// Holds the depth of nesting against the interpreter's limit. The walk takes no stack, so it leaves the caller's
/// code, which runs inside it, its own allowance. False with RecursionError set.
bool isDepthAllowed(std::size_t depth) {
    if (depth < static_cast<std::size_t>(Py_GetRecursionLimit()))
        return true;
    setError(PyExc_RecursionError, "maximum recursion depth exceeded while reading a nested initializer");
    return false;
}

} // namespace

bool NestedWalk::run(PyObject* value) {
    if (!visit(PyRef::borrow(value)))
        return false;
    while (!m_levels.empty()) {
        Level& level = m_levels.back();
        if (level.next == level.length) {
            if (!leave())
                return false;
        } else if (!m_watch.pass() || !visit(PyRef::steal(PySequence_GetItem(level.sequence.get(), level.next++)))) {
            return false;
        }
    }
    return isRectangular() || raiseNotRectangular();
}

bool NestedWalk::visit(PyRef value) {
    if (!value)
        return raiseNoItem();
    return PySequence_Check(value.get()) ? enter(std::move(value)) : visitScalar(value.get());
}

bool NestedWalk::visitScalar(PyObject* scalar) {
    if (!m_sink.append(scalar))
        return false;
    const std::size_t depth = m_levels.size();
    if (m_leafDepth == 0)
        m_leafDepth = depth;
    else if (depth != m_leafDepth)
        return raiseNotRectangular();
    if (m_dims.empty())
        m_dims = {1, 1};
    if (m_reserved)
        return true;

    m_reserved = true;
    std::size_t count = 1;
    bool overflowed = false;
    for (const Level& level : m_levels)
        overflowed |= __builtin_mul_overflow(count, static_cast<std::size_t>(level.length), &count);
    return m_sink.reserve(overflowed ? std::nullopt : std::optional(count));
}

/// Does with the extents of an array of this module that holds nothing to visit what visiting all of its parts would.
/// It may have any number of empty parts, which must not be gone through one by one.
bool NestedWalk::passEmptyOwnArray(const Selection& selection) {
    const auto firstEmpty = std::find(selection.counts.begin(), selection.counts.end(), 0);
    const auto levels = static_cast<std::size_t>(firstEmpty - selection.counts.begin()) + 1;
    const std::size_t depth = m_levels.size();
    m_dims.resize(std::max(m_dims.size(), depth + levels), 0);
    for (std::size_t level = levels; level-- > 0;) {
        if (!settleExtent(depth + level, static_cast<std::size_t>(selection.counts[level])))
            return false;
    }
    return true;
}

/// The length of an array of this module. One that holds nothing to visit is passed at once; then there is no more to
/// do. Not inlined, to stay off the stack on which code of the caller's runs.
[[gnu::noinline]] bool NestedWalk::measureOwnArray(const OCppPyArray& array, Py_ssize_t& length, bool& isPassed) {
    const Selection selection = selectionOf(array);
    if (selection.isInside && selection.elementCount == 0)
        return isPassed = passEmptyOwnArray(selection);
    // Items are numbers or views of one length. Of those that a reshape has left outside the elements there may be any
    // number, and the first number among them is the fault.
    length = selection.counts[0];
    return selection.isInside || selection.rank() > 1 || raiseNoItem();
}

bool NestedWalk::enter(PyRef sequence) {
    Py_ssize_t length = 0;
    if (const OCppPyArray* array = ownArrayOrNull(sequence.get())) {
        bool isPassed = false;
        if (!measureOwnArray(*array, length, isPassed) || isPassed)
            return isPassed;
    } else if (pyObjectIsUnicodeOrString(sequence.get())) {
        setError(PyExc_ValueError, "value passed to initializer must be numeric.");
        return false;
    } else if (!measureSequence(sequence.get(), length)) {
        return false;
    }

    const std::size_t depth = m_levels.size();
    if (depth >= m_dims.size())
        m_dims.push_back(0);
    m_levels.push_back({std::move(sequence), length, 0});
    return isDepthAllowed(depth);
}

bool NestedWalk::leave() {
    const auto length = static_cast<std::size_t>(m_levels.back().length);
    m_levels.pop_back();
    return settleExtent(m_levels.size(), length);
}

/// Holds the length of a sequence that has been finished against those finished at its depth before.
bool NestedWalk::settleExtent(std::size_t depth, std::size_t length) {
    // A zero may also mean that no sequence of this depth has been finished yet; the count at the end tells.
    std::size_t& extent = m_dims[depth];
    if (extent == 0)
        extent = length;
    return extent == length || raiseNotRectangular();
}

bool NestedWalk::isRectangular() const {
    const auto product = checkedProduct(asSpan(m_dims));
    return product && static_cast<std::size_t>(*product) == m_sink.count();
}

} // namespace orvane::python
