// The subscripts that lead from a whole array to what one object stands for.
#pragma once

#include <cstddef>
#include <optional>

#include "core/index_items.hpp"
#include "core/layout.hpp"

namespace orvane::python {

/// Subscripts are consumed from the first dimension onward: each integer fixes one dimension, and at most one
/// slice, which stands last, narrows the dimension after those. That dimension is the active one; all later
/// ones are whole. All positions are absolute, whatever views the subscripts were applied to.
class IndexChain {
public:
    bool isEmpty() const noexcept { return m_integers.empty() && !m_slice; }
    /// The positions in the dimensions that integers have fixed.
    const Extents& integers() const noexcept { return m_integers; }
    const std::optional<SliceIndexItem>& slice() const noexcept { return m_slice; }
    /// The number of the first dimension that no integer has fixed.
    std::size_t activeDimension() const noexcept { return m_integers.size(); }
    /// How many dimensions the subscripts speak of.
    std::size_t length() const noexcept { return m_integers.size() + (m_slice ? 1 : 0); }

    /// The position in the active dimension that `place`, below the slice's length if there is a slice, stands for.
    long absolutePosition(long place) const noexcept { return m_slice ? m_slice->position(place) : place; }

    /// One more integer, an absolute position; a slice has then served its purpose.
    void fixActiveDimension(long position) {
        m_slice.reset();
        m_integers.push_back(position);
    }
    /// A slice measured in the coordinates of the view: composed onto the standing one if there is one.
    void narrowActiveDimension(const SliceIndexItem& item) noexcept {
        m_slice = m_slice ? item.composedOnto(*m_slice) : item;
    }

private:
    Extents m_integers;
    std::optional<SliceIndexItem> m_slice;
};

} // namespace orvane::python
