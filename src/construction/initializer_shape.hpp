// The extents that a constructor call asks for and those that its values turn out to have.
#pragma once

#include <Python.h>

#include <cstddef>
#include <optional>
#include <span>
#include <string>

#include "vocabulary/extents.hpp"

namespace orvane::python {

/// Extents, outermost Python level first; that is dimension 0 of the array.
using Dims = DimensionVector<std::size_t>;

inline std::span<const std::size_t> asSpan(const Dims& dims) noexcept {
    return {dims.data(), dims.size()};
}

/// Everything about one construction that does not depend on the element type.
class InitializerShape {
public:
    /// How found extents relate to those that `size` asks for.
    enum class Agreement {
        Agrees,
        WrongCount, ///< another number of elements
        WrongShape, ///< the right number of elements in other extents
    };

    /// Reads the sequence that `size` is, completes one entry to a row and drops trailing ones. False with an error
    /// set. Items are fetched one by one, so code of the caller's may run.
    bool processSizeKwarg(PyObject* size);
    /// Adopts extents without reading anything.
    void setSizeDims(const Dims& dims) { m_sizeDims = dims; }
    bool isSizeGiven() const noexcept { return !m_sizeDims.empty(); }

    const Dims& initializerDims() const noexcept { return m_initializerDims; }
    /// The extents found so far, for the readers of values to fill.
    Dims& initializerDims() noexcept { return m_initializerDims; }
    /// The extents that the array gets: those of `size`, or else those found.
    const Dims& governingDims() const noexcept { return isSizeGiven() ? m_sizeDims : m_initializerDims; }
    /// How many elements those make; nothing when no 64-bit number can tell. A zero extent makes it 0, whatever else
    /// stands there.
    std::optional<std::size_t> getNumberOfElements() const noexcept;

    /// Gives a flat list of `elementCount` elements its second dimension: a row, or 0-by-0 when it is empty. With
    /// `size` it stays flat, and may fill any extents of the same count. False with ShapeError set.
    bool completeOneDimensionalDims(std::size_t elementCount);
    /// Trailing ones beyond the second dimension mean nothing.
    void dropTrailingOnes() { dropTrailingOnes(m_initializerDims); }

    /// Compares the found extents with `size`, raising nothing.
    Agreement agreementWithSize() const noexcept;
    /// False when they disagree, with ShapeError (count) or SizeError (shape) set.
    bool checkInitializerDimsAgainstSize() const;

    /// The entries in decimal, joined by ", ".
    static std::string dimsToString(const Dims& dims);

private:
    void completeSizeDims();
    static void dropTrailingOnes(Dims& dims);
    void raiseDisagreement(PyObject* exceptionType) const;

    Dims m_sizeDims; ///< at least two entries when `size` was given, none otherwise
    Dims m_initializerDims;
};

} // namespace orvane::python
