#include "protocol/assignment.hpp"

#include <algorithm>
#include <optional>
#include <span>

#include "construction/constructor_parser.hpp"
#include "construction/number_block.hpp"
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

/// Whether anything of the numbers lies among the elements of the array to write to.
bool mayOverlap(const StridedNumbers& numbers, const std::byte* elements, std::size_t size) {
    if (numbers.first.address == nullptr)
        return false;
    auto lowest = reinterpret_cast<std::uintptr_t>(numbers.first.address);
    std::uintptr_t highest = lowest + numbers.first.kind.size();
    for (std::size_t d = 0; d < numbers.counts.size(); ++d) {
        const long reach = (numbers.counts[d] - 1) * numbers.strides[d];
        (reach < 0 ? lowest : highest) += static_cast<std::uintptr_t>(reach);
    }
    const auto begin = reinterpret_cast<std::uintptr_t>(elements);
    return lowest < begin + size && begin < highest;
}

/// Writes numbers that all become elements of type `U` straight to a target of the same extents, inside its storage.
/// False, with nothing written, where they lie among the elements of the same array.
template <class U>
bool writeNumbers(ODArrayWrapper& wrapper, const Selection& target, const NumberBlock& block) {
    wrapper.prepareForWriting();
    const StridedNumbers numbers = block.numbers();
    const auto size = static_cast<std::size_t>(target.layout->sizeInBytes());
    const std::span strides(target.strides.data(), target.strides.size());
    bool isWritten = false;
    wrapper.storeMany([&](std::byte* elements, std::byte* mirror) {
        if (mayOverlap(numbers, elements, size) || (mirror != nullptr && mayOverlap(numbers, mirror, size)))
            return;
        std::byte* const again = mirror != nullptr ? mirror + target.origin : nullptr;
        isWritten = readBlock(numbers, {elements + target.origin, strides, again}, ElementWriter::of<U>());
    });
    return isWritten;
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

    /// A block whose numbers all become elements needs no collecting.
    bool readRightSide() {
        if (m_value != nullptr && !PyList_CheckExact(m_value) && !PyTuple_CheckExact(m_value)) {
            if (m_block.emplace().open(m_value) &&
                RunConversion<U>::template from<false>(m_block->kind()) == Conversion::Always)
                return true;
            m_block.reset();
        }
        return m_rightSide.processNestedInitializer(m_value, false);
    }
    std::size_t elementsRead() const {
        return m_block ? static_cast<std::size_t>(m_block->elementCount()) : m_rightSide.elements().size();
    }
    /// Whether the right side has exactly these extents.
    bool hasExtents(std::span<const long> extents) const {
        const auto isEqual = [](auto a, auto b) { return static_cast<long>(a) == static_cast<long>(b); };
        if (m_block)
            return std::ranges::equal(m_block->counts(), extents);
        return std::ranges::equal(m_rightSide.governingDims(), extents, isEqual);
    }

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
        if (!hasExtents(std::span(m_layout->shape().data(), m_layout->rank()).subspan(m_integers.size())))
            return refuse(PyExc_ValueError, differentShape);
        return writeRightSide(nullptr);
    }

    bool assignToSliceFinalDimension(const SliceIndexItem& item) {
        if (!readRightSide())
            return false;
        if (!hasExtents({&item.m_slice_len, 1}))
            return refuse(PyExc_ValueError, differentShape);
        return writeRightSide(&item);
    }

    bool assignToSliceInnerDimension(SliceIndexItem item) {
        if (!readRightSide())
            return false;
        const bool isEmpty = elementsRead() == 0;
        if (!isEmpty && item.m_slice_len == 0)
            return refuse(PyExc_ValueError, "slice is empty, but number of elements assigned is greater than zero.");
        if (isEmpty)
            return item.m_slice_len == 0 || refuse(PyExc_ValueError, "slice is nonempty but values are empty.");
        if (const auto& slice = m_array.chain().slice())
            item = item.composedOnto(*slice);
        // Through an empty view the elements go to its start, as if it had one place.
        item.m_slice_len = std::max(item.m_slice_len, 1L);
        return writeRightSide(&item);
    }

    /// Not inlined, to stay off the stack on which reading the right side has code of the caller's run.
    [[gnu::noinline]] bool writeRightSide(const SliceIndexItem* slice) {
        const Selection target = select(m_layout, m_integers, slice);
        if (m_block) {
            if (target.isInside && hasExtents({target.counts.data(), target.counts.size()}) &&
                writeNumbers<U>(wrapper(), target, *m_block))
                return true;
            // Without memory for it, the walk has the words.
            if (!m_rightSide.collectBlock(*m_block) &&
                (PyErr_Occurred() != nullptr || !m_rightSide.processNestedInitializer(m_value, false)))
                return false;
        }
        const std::span<const U> elements = m_rightSide.elements();
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
    std::optional<NumberBlock> m_block; ///< in place of what `m_rightSide` would collect
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
