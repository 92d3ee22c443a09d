#include "construction/number_block.hpp"

#include <algorithm>
#include <cstring>

#include "construction/range_items.hpp"
#include "core/array_object.hpp"
#include "vocabulary/element_vocabulary.hpp"
#include "vocabulary/numpy_class.hpp"
#include "vocabulary/type_objects.hpp"

namespace orvane::python {

namespace {

/// So many numbers are read between two looks for signals.
constexpr long numbersTogether = 1L << 20;

/// Types whose items are the integers and floats that lie in their buffer.
bool packsNumbers(PyTypeObject* type) {
    return type == &PyMemoryView_Type || type == &PyBytes_Type || type == &PyByteArray_Type ||
           (reinterpret_cast<PyObject*>(type) == ArrayArray::s_arrayClass && ArrayArray::s_isInterpretersOwn);
}

/// Finds the element type of a format; false for what is none.
bool readFormat(const Py_buffer& view, bool isNumPys, NumberKind& kind) {
    const char* format = view.format != nullptr ? view.format : "B";
    if (isNumPys) {
        // Of all NumPy's kinds these two alone have items of subclasses of `float` and `complex`.
        kind = *format == 'Z' ? NumberKind::of<std::complex<double>>() : NumberKind::of<double>();
        return std::strcmp(format, kind.isComplex ? "Zd" : "d") == 0;
    }
    format += *format == '@';
    if (*format == '\0' || format[1] != '\0')
        return false;
    const char resolved = resolvePlatformLong(*format, view.itemsize);
    const auto row = std::find_if(elementTable.begin(), elementTable.end(),
                                  [=](const ElementRow& entry) { return entry.format == resolved; });
    kind = {static_cast<std::size_t>(row - elementTable.begin()), false};
    return row != elementTable.end();
}

} // namespace

bool NumberBlock::open(PyObject* value) {
    PyTypeObject* const type = Py_TYPE(value);
    if (type == &PyList_Type || type == &PyTuple_Type)
        return false;
    close();
    if (OCPyArray_Check(value))
        return openOwnArray(value);
    if (type == &PyRange_Type)
        return openRange(value);
    const bool isNumPys = isNumPyArrayClass(type);
    if (!isNumPys && !packsNumbers(type))
        return false;
    if (openBuffer(value, isNumPys))
        return true;
    close();
    return false;
}

bool NumberBlock::openOwnArray(PyObject* value) {
    const OCppPyArray* array = getOCPyArrayFromPyObject(value)->m_cppArray;
    if (array == nullptr || !array->hasActiveDimension())
        return false;
    Selection selection = selectionOf(*array);
    if (!selection.isInside || selection.elementCount == 0)
        return false;
    m_kind = {static_cast<std::size_t>(array->supportedArrayEnum()), array->isComplex()};
    m_counts = std::move(selection.counts);
    m_strides = std::move(selection.strides);
    m_elementCount = selection.elementCount;
    m_wrapper = array->sharedWrapper();
    m_origin = selection.origin;
    return true;
}

bool NumberBlock::openRange(PyObject* value) {
    const auto items = itemsOfRange(value);
    if (!items)
        return false;
    m_kind = NumberKind::of<std::int64_t>();
    m_counts.assign(1, items->length);
    m_strides.assign(1, items->step);
    m_elementCount = items->length;
    m_firstOfRange = items->first;
    return true;
}

bool NumberBlock::openBuffer(PyObject* value, bool isNumPys) {
    if (!m_view.acquire(value, PyBUF_RECORDS_RO)) {
        PyErr_Clear();
        return false;
    }
    const Py_buffer& view = *m_view;
    if (view.ndim < 1 || (view.ndim > 1 && !isNumPys) || view.shape == nullptr || view.strides == nullptr ||
        !readFormat(view, isNumPys, m_kind))
        return false;
    const auto itemSize = static_cast<Py_ssize_t>(m_kind.size());
    const auto rank = static_cast<std::size_t>(view.ndim);
    return view.itemsize == itemSize && setShape({view.shape, rank}, {view.strides, rank});
}

bool NumberBlock::setShape(std::span<const Py_ssize_t> counts, std::span<const Py_ssize_t> strides) {
    const auto count = checkedProduct(counts);
    if (count.value_or(0) == 0)
        return false;
    m_counts.assign(counts.begin(), counts.end());
    m_strides.assign(strides.begin(), strides.end());
    m_elementCount = *count;
    return true;
}

StridedNumbers NumberBlock::numbers() const noexcept {
    NumberRun first{m_kind, nullptr, m_strides.back(), m_firstOfRange};
    if (m_wrapper)
        first.address = m_wrapper->elements() + m_origin;
    else if (m_view)
        first.address = static_cast<const std::byte*>(m_view->buf);
    return {first, counts(), {m_strides.data(), m_strides.size()}};
}

Extents gaplessStrides(std::span<const long> counts, ElementOrder order, long elementSize) {
    Extents strides(counts.size(), boost::container::default_init);
    long stride = elementSize;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        const std::size_t d = order == ElementOrder::ColumnMajor ? i : counts.size() - 1 - i;
        strides[d] = stride;
        stride *= counts[d];
    }
    return strides;
}

bool readHeedingSignals(const NumberBlock& block, const StridedElements& target, const ElementWriter& writer) {
    const auto& strides = target.strides;
    // In slices of the slowest dimension that has several places, with a look for signals between them.
    std::size_t slowest = 0;
    for (std::size_t d = 1; d < strides.size(); ++d) {
        if (block.counts()[d] > 1 && (block.counts()[slowest] == 1 || strides[d] > strides[slowest]))
            slowest = d;
    }
    const long places = block.counts()[slowest];
    const long together = std::max(numbersTogether / (block.elementCount() / places), 1L);
    Extents counts(block.counts().begin(), block.counts().end());
    for (long start = 0; start < places; start += together) {
        if (start > 0 && PyErr_CheckSignals() != 0)
            return false;
        StridedNumbers numbers = block.numbers();
        numbers.first.stride = numbers.strides[slowest];
        numbers.first = numbers.first.from(start);
        counts[slowest] = std::min(places - start, together);
        numbers.counts = {counts.data(), counts.size()};
        if (!readBlock(numbers, {target.address + start * strides[slowest], strides}, writer))
            return false;
    }
    return true;
}

bool readGapless(const NumberBlock& block, ElementOrder order, std::byte* target, const ElementWriter& writer) {
    const Extents strides = gaplessStrides(block.counts(), order, writer.elementSize);
    return readHeedingSignals(block, {target, {strides.data(), strides.size()}}, writer);
}

} // namespace orvane::python
