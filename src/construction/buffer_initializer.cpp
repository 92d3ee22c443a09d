#include "construction/buffer_initializer.hpp"

#include <algorithm>
#include <span>

#include "vocabulary/element_vocabulary.hpp"
#include "vocabulary/extents.hpp"
#include "vocabulary/python_values.hpp"

namespace orvane::python {

namespace {

bool raiseDoesNotFit() {
    setError(PyExc_BufferError, "input does not fit evenly into output type.");
    return false;
}

bool checkFormat(const Py_buffer& view, const BufferExpectation& expectation) {
    const char* format = view.format;
    if (format == nullptr || *format == '\0') {
        setError(PyExc_BufferError, "input 'format' field is null.");
        return false;
    }
    if (expectation.isComplex && *format++ != 'Z') {
        PyErr_Format(PyExc_BufferError,
                     "input buffer format ('%s') does not begin with 'Z', but output type is complex", view.format);
        return false;
    }
    if (*format == expectation.format || areDifferentButCompatible(*format, expectation.format, view.itemsize))
        return true;
    PyErr_Format(PyExc_BufferError,
                 "input buffer format ('%s') is not compatible with output format ('%s%c'); use a different input or "
                 "output type",
                 view.format, expectation.isComplex ? "Z" : "", expectation.format);
    return false;
}

/// Whether the way along the strides, where there are any, begins at the first byte and reaches the last: the exporter
/// need not have heeded what it was asked for.
bool spansLength(const Py_buffer& view, std::size_t count, std::span<const std::size_t> extents) {
    if (view.strides == nullptr || count == 0)
        return true;
    Py_ssize_t reached = view.len / static_cast<Py_ssize_t>(count);
    bool isLost = false;
    for (std::size_t d = 0; d < extents.size(); ++d) {
        Py_ssize_t reach = 0;
        isLost |= __builtin_mul_overflow(extents[d] - 1, view.strides[d], &reach) || reach < 0 ||
                  __builtin_add_overflow(reached, reach, &reached);
    }
    return !isLost && reached >= view.len;
}

} // namespace

std::optional<std::size_t> elementCountOf(const Py_buffer& view, const BufferExpectation& expectation) {
    if (!checkFormat(view, expectation))
        return std::nullopt;
    const auto length = static_cast<std::size_t>(view.len);
    if (view.len < 0 || length % expectation.elementSize != 0 || (view.buf == nullptr && length > 0)) {
        raiseDoesNotFit();
        return std::nullopt;
    }
    return length / expectation.elementSize;
}

bool readBufferDims(const Py_buffer& view, std::size_t count, Dims& dims, bool& isColumnMajor) {
    isColumnMajor = true;
    if (view.ndim == 1) {
        // Whatever its extent says: the length of the block is what counts. Its own elements, which the stride leads
        // along, may be smaller than the format's.
        dims.push_back(count);
        const std::size_t steps =
            view.itemsize > 0 ? std::max(count, static_cast<std::size_t>(view.len / view.itemsize)) : count;
        return spansLength(view, steps, {&steps, 1}) || raiseDoesNotFit();
    }
    if (view.ndim <= 0) {
        dims.push_back(1);
        return count == 1 || raiseDoesNotFit();
    }
    if (view.shape == nullptr) {
        setError(PyExc_BufferError, "shape is null.");
        return false;
    }
    const std::span extents(view.shape, static_cast<std::size_t>(view.ndim));
    const bool isNegative = std::any_of(extents.begin(), extents.end(), [](Py_ssize_t extent) { return extent < 0; });
    const auto product = checkedProduct(std::span<const Py_ssize_t>(extents));
    if (isNegative || !product || static_cast<std::size_t>(*product) != count)
        return raiseDoesNotFit();
    dims.assign(extents.begin(), extents.end());
    if (!spansLength(view, count, {dims.data(), dims.size()}))
        return raiseDoesNotFit();
    isColumnMajor = PyBuffer_IsContiguous(&view, 'F') != 0;
    return true;
}

} // namespace orvane::python
