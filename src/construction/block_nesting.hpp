// The short cut for nested lists whose innermost items are blocks of numbers.
#pragma once

#include <Python.h>

#include <cstddef>
#include <span>

#include "construction/initializer_shape.hpp"
#include "construction/number_block.hpp"
#include "construction/regular_nesting.hpp"

namespace orvane::python {

/// Exact lists and tuples, of equal lengths at each level, down to blocks of numbers, all of the same extents. The
/// blocks may be of different kinds.
class BlockNesting {
public:
    /// Says of a kind whether its items become elements of the type that is read.
    using ConversionFrom = Conversion (*)(NumberKind kind) noexcept;

    /// No dimensions when the first innermost item of `nesting`, which has a rank, is no block. Whether the others are
    /// like it, reading will show. Throws `std::bad_alloc`.
    BlockNesting(const RegularNesting& nesting, ConversionFrom conversionFrom);

    /// Of the lists and of the blocks, outermost first. None is 0.
    std::span<const std::size_t> extents() const noexcept { return asSpan(m_extents); }

    /// Reads the value that the nesting is of into elements without gaps. False when something else was met or does not
    /// fit, and with an error set by a signal's handler; the target is then partly filled. No other code of the
    /// caller's runs. Throws `std::bad_alloc`.
    bool read(PyObject* value, ElementOrder order, std::byte* target, const ElementWriter& writer) const;

private:
    bool openItem(NumberBlock& block, PyObject* item) const;
    bool readItems(PyObject* list, std::size_t level, const StridedElements& target, const ElementWriter& writer) const;
    bool readSideBySide(PyObject* list, const StridedElements& target, const ElementWriter& writer) const;

    ConversionFrom m_conversionFrom;
    std::size_t m_levels; ///< of lists
    Dims m_extents;
};

} // namespace orvane::python
