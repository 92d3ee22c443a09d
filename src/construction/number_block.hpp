// The short cut for what holds numbers as such: memory, or the bounds of a range, in place of Python objects.
#pragma once

#include <Python.h>

#include <cstddef>
#include <memory>
#include <span>

#include "blocks/number_blocks.hpp"
#include "core/selection.hpp"
#include "vocabulary/error_state.hpp"
#include "vocabulary/extents.hpp"

namespace orvane::python {

/// The numbers that the sequence protocol of an object would show, where they can be read in one go and nobody can see
/// the difference: arrays of this module, whole or views; exact ranges, `bytes`, `bytearray`, `array.array`;
/// memoryviews of one dimension; and arrays of NumPy's own class whose items are floats or complex numbers of Python's
/// kind.
///
/// What is read is held for as long as the block is open. The elements of an array of this module may move all the same
/// whenever code of the caller's runs; so `numbers` is asked anew then.
class NumberBlock {
public:
    NumberBlock() noexcept = default;
    NumberBlock(const NumberBlock&) = delete;
    NumberBlock& operator=(const NumberBlock&) = delete;

    /// False, with no error set, for any other object and for all of which the protocol shows faults or no number at
    /// all. No code of the caller's runs. A block that was open is closed first. Throws `std::bad_alloc`.
    bool open(PyObject* value);
    void close() {
        m_view.release();
        m_wrapper.reset();
    }

    NumberKind kind() const noexcept { return m_kind; }
    /// One for each dimension; none is 0.
    std::span<const long> counts() const noexcept { return {m_counts.data(), m_counts.size()}; }
    long elementCount() const noexcept { return m_elementCount; }
    StridedNumbers numbers() const noexcept;

private:
    bool openOwnArray(PyObject* value);
    bool openRange(PyObject* value);
    bool openBuffer(PyObject* value, bool isNumPys);
    bool setShape(std::span<const Py_ssize_t> counts, std::span<const Py_ssize_t> strides);

    NumberKind m_kind;
    Extents m_counts;
    Extents m_strides;
    long m_elementCount = 0;
    BufferView m_view;
    std::shared_ptr<ODArrayWrapper> m_wrapper; ///< of an array of this module
    unsigned long m_origin = 0;                ///< in its elements
    long long m_firstOfRange = 0;
};

/// The order in which elements are laid down: the last dimension fastest, or the first.
enum class ElementOrder { RowMajor, ColumnMajor };

/// The distances in bytes between elements that lie without gaps.
Extents gaplessStrides(std::span<const long> counts, ElementOrder order, long elementSize);

/// Reads all of a block, as one of the kinds that `writer` takes, and has signals answered on the way. False when a
/// number does not fit, and with an error set by the handler of a signal; the target is then partly filled.
bool readHeedingSignals(const NumberBlock& block, const StridedElements& target, const ElementWriter& writer);

/// The same into elements without gaps.
bool readGapless(const NumberBlock& block, ElementOrder order, std::byte* target, const ElementWriter& writer);

} // namespace orvane::python
