// The subscripts that lead from a whole array to what one object stands for.
#pragma once

#include <algorithm>
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

    /// This chain with one more integer, an absolute position; a slice has then served its purpose.
    IndexChain withFixed(long position) const { return IndexChain(m_integers, position); }
    /// This chain narrowed by a slice that is measured in the coordinates of the view: composed onto the standing one
    /// if there is one.
    IndexChain narrowed(const SliceIndexItem& item) const {
        return IndexChain(m_integers, m_slice ? item.composedOnto(*m_slice) : item);
    }

    IndexChain() = default;

private:
    IndexChain(const Extents& integers, long position)
        : m_integers(integers.size() + 1, boost::container::default_init) {
        std::copy(integers.begin(), integers.end(), m_integers.begin());
        m_integers.back() = position;
    }
    IndexChain(const Extents& integers, const SliceIndexItem& slice)
        : m_integers(integers.size(), boost::container::default_init), m_slice(slice) {
        std::copy(integers.begin(), integers.end(), m_integers.begin());
    }

    Extents m_integers;
    std::optional<SliceIndexItem> m_slice;
};

} // namespace orvane::python
