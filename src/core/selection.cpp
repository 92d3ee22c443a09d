#include "core/selection.hpp"

#include <Python.h>

#include <algorithm>
#include <limits>

namespace orvane::python {

namespace {

__extension__ using Wide = __int128;

bool liesInside(const Selection& selection) {
    Wide lowest = selection.origin;
    Wide highest = selection.origin;
    for (std::size_t i = 0; i < selection.rank(); ++i) {
        const Wide reach = Wide{selection.counts[i] - 1} * selection.strides[i];
        (reach < 0 ? lowest : highest) += reach;
    }
    return lowest >= 0 && highest < selection.layout->sizeInBytes();
}

/// The bytes from one place of a slice to the next. The arithmetic of offsets wraps; so where no number of 64 bits
/// tells the distance, it is half of the address space, which no two places inside are apart.
long strideOfSlice(const SliceIndexItem& slice, long strideOfDimension) {
    long stride = 0;
    if (__builtin_mul_overflow(slice.m_step, strideOfDimension, &stride))
        stride = std::numeric_limits<long>::min();
    return stride;
}

} // namespace

Selection select(std::shared_ptr<const Layout> held, const Extents& integers, const SliceIndexItem* slice) {
    Selection selection;
    selection.layout = std::move(held);
    selection.isSliced = slice != nullptr;
    const Layout& layout = *selection.layout;
    const std::size_t active = integers.size();

    if (active >= layout.rank()) {
        if (slice != nullptr)
            selection.counts.push_back(slice->m_slice_len);
        selection.counts.push_back(0);
        selection.strides.resize(selection.counts.size(), 0);
        return selection;
    }

    for (std::size_t i = 0; i < active; ++i)
        selection.origin +=
            static_cast<unsigned long>(integers[i]) * static_cast<unsigned long>(layout.bytewiseStrides()[i]);
    selection.counts.assign(layout.shape().begin() + static_cast<long>(active), layout.shape().end());
    selection.strides.assign(layout.bytewiseStrides().begin() + static_cast<long>(active),
                             layout.bytewiseStrides().end());
    if (slice != nullptr) {
        selection.origin +=
            static_cast<unsigned long>(slice->m_start) * static_cast<unsigned long>(selection.strides[0]);
        selection.counts[0] = slice->m_slice_len;
        if (slice->m_slice_len > 1)
            selection.strides[0] = strideOfSlice(*slice, selection.strides[0]);
    }
    const auto count = checkedProduct(std::span<const long>(selection.counts.data(), selection.counts.size()));
    selection.elementCount = count.value_or(0);
    selection.isInside = count && (*count == 0 || liesInside(selection));
    if (count == 0) { // the strides of an array without elements may be any numbers
        selection.origin = 0;
        selection.strides.assign(selection.rank(), 0);
    }
    return selection;
}

bool Selection::isColumnMajor() const noexcept {
    long gapless = layout->elementSize();
    for (std::size_t d = 0; d < rank(); ++d) {
        if (counts[d] > 1 && strides[d] != gapless)
            return elementCount == 0;
        gapless *= elementCount == 0 ? 1 : counts[d];
    }
    return true;
}

Selection selectionOf(const OCppPyArray& view) {
    const auto& slice = view.chain().slice();
    return select(view.wrapper().layout(), view.chain().integers(), slice ? &*slice : nullptr);
}

Selection selectionIgnoringSlice(const OCppPyArray& view) {
    return select(view.wrapper().layout(), view.chain().integers(), nullptr);
}

bool SelectionOdometer::advanceBefore(std::size_t dimension) noexcept {
    for (std::size_t d = dimension; d-- > 0;) {
        m_offset += static_cast<unsigned long>(m_selection.strides[d]);
        if (++m_places[d] < m_selection.counts[d])
            return true;
        m_offset -=
            static_cast<unsigned long>(m_selection.counts[d]) * static_cast<unsigned long>(m_selection.strides[d]);
        m_places[d] = 0;
    }
    return false;
}

void raiseUnreadable(const Selection& selection) {
    if (selection.isSliced) {
        PyErr_SetString(PyExc_RuntimeError, "unable to set list item.");
        return;
    }
    SelectionOdometer odometer(selection);
    long place = 0;
    do {
        if (odometer.offset() >= static_cast<unsigned long>(selection.layout->sizeInBytes()))
            break;
        place = (place + 1) % selection.counts.back();
    } while (odometer.advance());
    PyErr_Format(PyExc_IndexError, "index has an invalid value: %ld", place);
}

} // namespace orvane::python
