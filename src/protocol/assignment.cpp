#include "protocol/assignment.hpp"

#include <algorithm>
#include <span>

#include "construction/constructor_parser.hpp"
#include "core/array_object.hpp"
#include "core/element_access.hpp"
#include "core/selection.hpp"
#include "elements/conversion.hpp"
#include "vocabulary/boundary.hpp"
#include "vocabulary/python_values.hpp"

namespace orvane::python {

namespace {

constexpr const char* differentShape =
    "unable to perform assignment because the left and right sides have a different shape.";

bool refuse(PyObject* exceptionType, const char* message) {
    setError(exceptionType, message);
    return false;
}

/// Writes as many of `elements` as the target has positions, in index order. False with RuntimeError set at the first
/// position that lies outside the storage.
template <class U>
bool writeElements(ODArrayWrapper& wrapper, const Selection& target, std::span<const U> elements) {
    if (elements.empty())
        return true;
    wrapper.prepareForWriting();
    const auto size = static_cast<unsigned long>(target.layout->sizeInBytes());
    const bool mayLeaveElements = !target.isInside || target.elementCount == 0;
    SelectionOdometer odometer(target);
    for (const U& element : elements) {
        if (mayLeaveElements && odometer.offset() >= size)
            return refuse(PyExc_RuntimeError, "unable to set value.");
        wrapper.store(odometer.offset(), element);
        if (!odometer.advance())
            break;
    }
    return true;
}

/// One assignment to an array of element type `U`. The extents that the subscript was measured against are held on to:
/// converting the right side may run code that reshapes the array.
template <class U>
class Assignment {
public:
    Assignment(const OCppPyArray& array, PyObject* value)
        : m_array(array), m_layout(array.wrapper().layout()), m_integers(array.chain().integers()), m_value(value) {}

    bool via(long rawIndex) {
        IntegerIndexItem item{rawIndex};
        if (!item.normalize(m_layout->extent(activeDimension()))) {
            PyErr_Format(PyExc_IndexError, "index has an invalid value: %ld", rawIndex);
            return false;
        }
        if (const auto& slice = m_array.chain().slice()) {
            // The index, measured against the whole dimension, is taken as a place within the view's slice.
            if (item.m_index >= slice->m_slice_len)
                return refuse(PyExc_RuntimeError, "unable to index into slice.");
            item.m_index = slice->position(item.m_index);
        }
        m_integers.push_back(item.m_index);
        return m_integers.size() == m_layout->rank() ? assignToIntegerIndexFinalDimension()
                                                     : assignToIntegerIndexInnerDimension();
    }

    bool via(const UnpackedSlice& bounds) {
        const SliceIndexItem item = bounds.measuredAgainst(m_layout->extent(activeDimension()));
        return activeDimension() + 1 == m_layout->rank() ? assignToSliceFinalDimension(item)
                                                         : assignToSliceInnerDimension(item);
    }

private:
    std::size_t activeDimension() const { return m_array.chain().activeDimension(); }
    ODArrayWrapper& wrapper() const { return m_array.wrapper(); }
    bool readRightSide() { return m_rightSide.processNestedInitializer(m_value, false); }

    bool assignToIntegerIndexFinalDimension() {
        if (m_value == nullptr)
            return refuse(PyExc_RuntimeError, "null data pointer.");
        U element;
        if (!convertExactNumber<U, false>(m_value, element)) {
            const ElementResult<U> result = convertToElement<U>(m_value, false);
            if (!result.hasValue) {
                setError(result.exceptionType, result.message);
                return false;
            }
            element = result.value;
        }
        const auto offset = m_layout->byteOffset(m_integers);
        if (!offset)
            return refuse(PyExc_RuntimeError, "unable to set value.");
        wrapper().prepareForWriting();
        wrapper().store(*offset, element);
        return true;
    }

    bool assignToIntegerIndexInnerDimension() {
        if (!readRightSide())
            return false;
        const Dims& dims = m_rightSide.governingDims();
        const auto trailing = std::span(m_layout->shape().data(), m_layout->rank()).subspan(m_integers.size());
        if (!std::equal(dims.begin(), dims.end(), trailing.begin(), trailing.end(),
                        [](std::size_t a, long b) { return a == static_cast<std::size_t>(b); }))
            return refuse(PyExc_ValueError, differentShape);
        return writeRightSide(nullptr);
    }

    bool assignToSliceFinalDimension(const SliceIndexItem& item) {
        if (!readRightSide())
            return false;
        if (m_rightSide.governingDims().size() != 1 ||
            m_rightSide.elements().size() != static_cast<std::size_t>(item.m_slice_len))
            return refuse(PyExc_ValueError, differentShape);
        return writeRightSide(&item);
    }

    bool assignToSliceInnerDimension(SliceIndexItem item) {
        if (!readRightSide())
            return false;
        const std::span<const U> elements = m_rightSide.elements();
        if (!elements.empty() && item.m_slice_len == 0)
            return refuse(PyExc_ValueError, "slice is empty, but number of elements assigned is greater than zero.");
        if (elements.empty())
            return item.m_slice_len == 0 || refuse(PyExc_ValueError, "slice is nonempty but values are empty.");
        if (const auto& slice = m_array.chain().slice())
            item = item.composedOnto(*slice);
        // Through an empty view the elements go to its start, as if it had one place.
        item.m_slice_len = std::max(item.m_slice_len, 1L);
        return writeRightSide(&item);
    }

    /// Not inlined, to stay off the stack on which reading the right side has code of the caller's run.
    [[gnu::noinline]] bool writeRightSide(const SliceIndexItem* slice) {
        const std::span<const U> elements = m_rightSide.elements();
        const Selection target = select(m_layout, m_integers, slice);
        if (!writeElements(wrapper(), target, elements))
            return false;
        return elements.size() == static_cast<std::size_t>(target.elementCount) ||
               refuse(PyExc_ValueError, "length of slice does not match number of elements.");
    }

    const OCppPyArray& m_array;
    const std::shared_ptr<const Layout> m_layout;
    Extents m_integers;
    PyObject* m_value;
    FinalConstructorParser<U> m_rightSide;
};

bool requireActiveDimension(const OCppPyArray& array) {
    if (!array.hasActiveDimension())
        raiseTooManyIndices();
    return array.hasActiveDimension();
}

/// The short cut for one number of the interpreter's own types at a place that exists. False, with nothing done, for
/// all else: the reasons to refuse stand in `Assignment` alone.
template <class U>
bool storeNumber(const OCppPyArray& array, long index, PyObject* value) {
    if (value == nullptr || !array.activeDimensionIsLast() || array.chain().slice())
        return false;
    IntegerIndexItem item{index};
    U element;
    if (!item.normalize(array.layout().extent(array.chain().activeDimension())) ||
        !convertExactNumber<U, false>(value, element))
        return false;
    const unsigned long offset = array.byteOffsetAt(item.m_index);
    if (offset >= static_cast<unsigned long>(array.layout().sizeInBytes()))
        return false;
    array.wrapper().prepareForWriting();
    array.wrapper().store(offset, element);
    return true;
}

/// A function of its own for each element type: inlined together they would take the stack of all of them, for as long
/// as code of the caller's runs inside.
template <class U, class Subscript>
[[gnu::noinline]] bool assignValue(const OCppPyArray& array, PyObject* value, const Subscript& subscript) {
    return Assignment<U>(array, value).via(subscript);
}

bool assignViaInteger(const OCppPyArray& array, long index, PyObject* value) {
    return visitElementTypeOf(
        array, [&]<class U>() { return storeNumber<U>(array, index, value) || assignValue<U>(array, value, index); });
}

bool assignViaSlice(const OCppPyArray& array, const UnpackedSlice& bounds, PyObject* value) {
    return visitElementTypeOf(array, [&]<class U>() { return assignValue<U>(array, value, bounds); });
}

bool assign(const OCppPyArray& array, PyObject* index, PyObject* value) {
    if (!requireActiveDimension(array))
        return false;
    if (pyObjectIsLong(index)) {
        const auto i = getIntegerIndexFromIndexObject(index);
        return i && assignViaInteger(array, *i, value);
    }
    if (!Py_IS_TYPE(index, &PySlice_Type))
        return refuse(PyExc_RuntimeError, "index is not an integer or slice.");
    const auto bounds = unpackSlice(index);
    // Reading the bounds may have run code that reshaped the array.
    return bounds && requireActiveDimension(array) && assignViaSlice(array, *bounds, value);
}

} // namespace

int OCPyArray_SetViaIndex(PyObject* self, PyObject* index, PyObject* value) {
    const OCppPyArray* core = requireCoreArray(self);
    if (core == nullptr)
        return -1;
    return withMemoryErrors(-1, [&] { return assign(*core, index, value) ? 0 : -1; });
}

} // namespace orvane::python
