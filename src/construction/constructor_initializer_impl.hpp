// How `FinalConstructorParser` reads an initializer: the short cuts, other people's buffers, the walk.
#pragma once

#include "construction/constructor_parser.hpp"

#include <array>
#include <cstddef>
#include <new>
#include <span>
#include <type_traits>

#include "blocks/number_runs.hpp"
#include "blocks/reorder.hpp"
#include "construction/block_nesting.hpp"
#include "construction/buffer_initializer.hpp"
#include "construction/construction_errors.hpp"
#include "construction/constructor_collecting_impl.hpp"
#include "construction/number_block.hpp"
#include "construction/range_items.hpp"
#include "construction/regular_nesting.hpp"
#include "elements/conversion.hpp"
#include "vocabulary/boundary.hpp"
#include "vocabulary/caller_code.hpp"
#include "vocabulary/error_state.hpp"
#include "vocabulary/extents.hpp"
#include "vocabulary/own_array.hpp"
#include "vocabulary/python_values.hpp"

namespace orvane::python {

namespace detail {

/// The transfer that elements of a foreign buffer need: bytes of logical elements may hold any value there.
template <class T>
inline constexpr Transfer foreignTransfer = std::is_same_v<T, bool> ? Transfer::TruthValues : Transfer::Bytewise;

} // namespace detail

template <class T>
bool FinalConstructorParser<T>::processInitializerKwarg(PyObject* initializer) {
    if (pyObjectIsUnicodeOrString(initializer)) {
        setError(PyExc_ValueError, "value passed to initializer must be numeric.");
        return false;
    }
    if (readRegularInitializer(initializer) || readBlockInitializer(initializer))
        return true;
    if (!mayTakeTheLongRoad())
        return false;
    if (PyObject_CheckBuffer(initializer) && !OCPyArray_Check(initializer))
        return processForeignBuffer(initializer);
    return walkInitializer(initializer);
}

template <class T>
bool FinalConstructorParser<T>::settleDims(std::size_t count) {
    if (!m_shape.completeOneDimensionalDims(count))
        return false;
    m_shape.dropTrailingOnes();
    return m_shape.checkInitializerDimsAgainstSize();
}

/// What collects the elements in row-major order, and their transfer to the array's block.
template <class T>
bool FinalConstructorParser<T>::walkInitializer(PyObject* initializer) {
    const bool isCollected =
        collectBlock<true>(initializer) || (mayTakeTheLongRoad() && walkNestedInitializer(initializer, true));
    // The walk has proved that so many values make these extents. It need not have kept them all.
    const auto count = checkedProduct(asSpan(m_shape.initializerDims()));
    if (!isCollected || !settleDims(static_cast<std::size_t>(count.value_or(0))))
        return false;
    T* const target = bufferFor(m_elements.size());
    PlainItemsWatch watch;
    return target == nullptr || reorderToColumnMajor(target, m_elements.data(), asSpan(m_shape.initializerDims()),
                                                     sizeof(T), Transfer::Bytewise, &watch);
}

/// Common to the short cuts: `read` is given the block for the elements of `extents` and fills it. Where the extents
/// disagree with `size`, or there is no memory, the walk has to say so, after the faults that come first.
template <class T>
template <class Read>
bool FinalConstructorParser<T>::readByShortCut(std::span<const std::size_t> extents, Read&& read) {
    const auto count = checkedProduct(extents);
    if (!count)
        return false;
    m_shape.initializerDims().assign(extents.begin(), extents.end());
    m_shape.dropTrailingOnes();
    try {
        if (m_shape.agreementWithSize() == Agreement::Agrees && read(bufferFor(static_cast<std::size_t>(*count))))
            return settleDims(static_cast<std::size_t>(*count));
    } catch (const std::bad_alloc&) {
    } catch (const OutOfMemory&) {
    }
    m_shape.initializerDims().clear();
    if (!m_shape.isSizeGiven())
        m_buffer.reset();
    return false;
}

template <class T>
bool FinalConstructorParser<T>::readRegularInitializer(PyObject* initializer) {
    const RegularNesting nesting(initializer);
    if (nesting.rank() == 0)
        return readUnnestedInitializer(initializer);
    T scalar;
    if (!convertExactNumber(nesting.firstScalar(), scalar))
        return readNestedBlocks(initializer, nesting);
    return readByShortCut(nesting.extents(), [&](T* target) {
        return RegularReader<T, true>(nesting.extents(), ElementOrder::ColumnMajor, target).read(initializer);
    });
}

/// A list or tuple without items, or a number of which `size` makes something.
template <class T>
bool FinalConstructorParser<T>::readUnnestedInitializer(PyObject* initializer) {
    static constexpr std::array<std::size_t, 2> oneByOne{1, 1}, noneByNone{0, 0};
    static constexpr std::array<std::size_t, 1> none{0};
    if (PyList_CheckExact(initializer) || PyTuple_CheckExact(initializer)) {
        if (Py_SIZE(initializer) != 0)
            return false; // its first item is empty
        if (m_shape.isSizeGiven())
            return readByShortCut(none, [](T*) { return true; });
        arrayFor(noneByNone);
        return true;
    }
    T scalar;
    return m_shape.isSizeGiven() && convertExactNumber(initializer, scalar) && readByShortCut(oneByOne, [&](T* target) {
               *target = scalar;
               return true;
           });
}

template <class T>
bool FinalConstructorParser<T>::readNestedBlocks(PyObject* initializer, const RegularNesting& nesting) {
    const BlockNesting blocks(nesting, &RunConversion<T>::template from<true>);
    return !blocks.extents().empty() && readByShortCut(blocks.extents(), [&](T* target) {
        return blocks.read(initializer, ElementOrder::ColumnMajor, detail::asBytes(target), ElementWriter::of<T>());
    });
}

/// Arrays of this module and ranges. Whatever else is a block is an initializer that exports a buffer, and is held
/// against the element type as one.
template <class T>
bool FinalConstructorParser<T>::readBlockInitializer(PyObject* initializer) {
    NumberBlock block;
    if (!(OCPyArray_Check(initializer) || PyRange_Check(initializer)) || !openBlock<true>(block, initializer))
        return false;
    const Dims extents(block.counts().begin(), block.counts().end());
    m_shape.initializerDims().assign(extents.begin(), extents.end());
    if (PyRange_Check(initializer) && m_shape.agreementWithSize() != Agreement::Agrees) {
        const auto items = itemsOfRange(initializer);
        if (items && canStore<RealElement<T>>(*items))
            return settleDims(extents.front()); // which says so: there is no other fault, however long the range
    }
    return readByShortCut(asSpan(extents), [&](T* target) { return readBlockInto(block, target); });
}

template <class T>
bool FinalConstructorParser<T>::processForeignBuffer(PyObject* exporter) {
    BufferView view;
    const bool isAcquired =
        withRecursionCounted(false, [&] { return view.acquire(exporter, PyBUF_ANY_CONTIGUOUS | PyBUF_FORMAT); });
    return isAcquired && processBufferInitializer(*view);
}

template <class T>
bool FinalConstructorParser<T>::processBufferInitializer(const Py_buffer& view) {
    const auto count = elementCountOf(view, BufferExpectation::of<T>());
    if (!count)
        return false;
    if (!m_shape.isSizeGiven())
        bufferFor(*count);
    bool isColumnMajor = false;
    Dims& dims = m_shape.initializerDims();
    if (!readBufferDims(view, *count, dims, isColumnMajor) || !settleDims(*count))
        return false;
    T* target = bufferFor(*count);
    PlainItemsWatch watch;
    if (target == nullptr)
        return true;
    if (isColumnMajor)
        return copyInOrder(target, view.buf, *count, sizeof(T), detail::foreignTransfer<T>, &watch);
    return reorderToColumnMajor(target, view.buf, asSpan(dims), sizeof(T), detail::foreignTransfer<T>, &watch);
}

} // namespace orvane::python
