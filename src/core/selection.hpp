// What a view selects, as counts and strides: the form in which whole selections are walked.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "core/core_array.hpp"
#include "core/layout.hpp"

namespace orvane::python {

/// A regular selection of elements: `counts[i]` steps of `strides[i]` bytes along each free dimension i of a view,
/// from the byte offset `origin`. Index order runs through the last dimension first.
///
/// Where it lies inside the elements, no walk through it can overflow: strides that are never stepped are small. One
/// that does not fit 64 bits leads from every element to outside.
struct Selection {
    std::shared_ptr<const Layout> layout; ///< what the strides were taken from; a reshape cannot free it
    Extents counts;
    Extents strides;
    unsigned long origin = 0;
    long elementCount = 0;
    /// Whether a slice chose among the first free dimension.
    bool isSliced = false;
    /// Whether all of it lies inside the elements. It need not, for a view whose array was reshaped.
    bool isInside = true;

    std::size_t rank() const noexcept { return counts.size(); }
    /// Whether the elements lie next to each other in column-major order.
    bool isColumnMajor() const noexcept;
};

/// What the `integers` of a chain select, narrowed by `slice` in the dimension after them unless it is null. A chain
/// that speaks of more dimensions than the array has left selects nothing: the result is one empty dimension, or a
/// dimension of the slice's length with empty ones inside.
Selection select(std::shared_ptr<const Layout> layout, const Extents& integers, const SliceIndexItem* slice);
/// What a view selects.
Selection selectionOf(const OCppPyArray& view);
/// What a view selects when the chain's slice is left out of account.
Selection selectionIgnoringSlice(const OCppPyArray& view);

/// Raises what reading a selection that is not inside comes to: a plain RuntimeError where a slice is involved,
/// and otherwise IndexError for the first element outside in index order, naming its place in the deepest dimension.
void raiseUnreadable(const Selection& selection);

/// Calls `visit(offset, count, stride)` for the runs of a selection that is inside and not empty, in column-major
/// order: so many elements from a byte offset on, so many bytes apart; for as long as that is true, whether it was to
/// the end. Leading dimensions that follow each other without a gap are one run.
template <class Visit>
bool visitRuns(const Selection& selection, Visit&& visit) {
    std::size_t outer = 1;
    long run = selection.counts[0];
    while (outer < selection.rank() && selection.strides[outer] == run * selection.strides[0])
        run *= selection.counts[outer++];

    unsigned long offset = selection.origin;
    DimensionVector<long> places(selection.rank(), 0);
    while (visit(offset, run, selection.strides[0])) {
        std::size_t d = outer;
        for (; d < selection.rank(); ++d) {
            offset += static_cast<unsigned long>(selection.strides[d]);
            if (++places[d] < selection.counts[d])
                break;
            offset -= static_cast<unsigned long>(selection.counts[d] * selection.strides[d]);
            places[d] = 0;
        }
        if (d >= selection.rank())
            return true;
    }
    return false;
}

/// Steps through all positions of a selection in index order.
class SelectionOdometer {
public:
    explicit SelectionOdometer(const Selection& selection)
        : m_selection(selection), m_places(selection.rank(), 0), m_offset(selection.origin) {}

    /// Byte offset of the element at the present position.
    unsigned long offset() const noexcept { return m_offset; }
    /// False once all positions have been passed.
    bool advance() noexcept { return advanceBefore(m_selection.rank()); }
    /// The same by whole rows, along the last dimension, of which the first position is the present one.
    bool advanceRow() noexcept { return advanceBefore(m_selection.rank() - 1); }

private:
    /// Steps on in the dimensions before the one told.
    bool advanceBefore(std::size_t dimension) noexcept;

    const Selection& m_selection;
    Extents m_places;
    unsigned long m_offset;
};

} // namespace orvane::python
