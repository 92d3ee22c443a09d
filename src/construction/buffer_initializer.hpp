// Buffers that other objects export, checked against an element type.
#pragma once

#include <Python.h>

#include <cstddef>
#include <optional>

#include <orvane_data_array/element_table.hpp>

#include "construction/initializer_shape.hpp"

namespace orvane::python {

/// What an element type asks of a buffer.
struct BufferExpectation {
    char format; ///< of the real type, or of the parts of the complex one
    bool isComplex;
    std::size_t elementSize;

    template <class T>
    static constexpr BufferExpectation of() noexcept {
        return {elementRow<T>.format, isComplexElement<T>, sizeof(T)};
    }
};

/// How many elements the buffer holds. Nothing, with BufferError set, when its format is another or when its length
/// is no whole number of elements. Of the format only the characters that name the type are looked at.
std::optional<std::size_t> elementCountOf(const Py_buffer& view, const BufferExpectation& expectation);

/// Reads the buffer's extents, one dimension or none as a flat list, and whether its elements are in column-major
/// order. False, with BufferError set, when the extents are missing or do not make `count` elements.
bool readBufferDims(const Py_buffer& view, std::size_t count, Dims& dims, bool& isColumnMajor);

} // namespace orvane::python
