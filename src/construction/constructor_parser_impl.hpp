// The definitions of `FinalConstructorParser`, for the few sources that instantiate it.
#pragma once

#include "construction/constructor_parser.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <new>
#include <span>
#include <string>
#include <utility>

#include "blocks/number_runs.hpp"
#include "blocks/reorder.hpp"
#include "construction/block_nesting.hpp"
#include "construction/buffer_initializer.hpp"
#include "construction/construction_errors.hpp"
#include "construction/nested_walk.hpp"
#include "construction/number_block.hpp"
#include "construction/range_items.hpp"
#include "construction/regular_nesting.hpp"
#include "elements/conversion.hpp"
#include "vocabulary/boundary.hpp"
#include "vocabulary/caller_code.hpp"
#include "vocabulary/error_state.hpp"
#include "vocabulary/extents.hpp"
#include "vocabulary/own_array.hpp"
#include "vocabulary/py_ref.hpp"
#include "vocabulary/python_values.hpp"

namespace orvane::python {

namespace detail {

/// As many elements as have a size in bytes that a signed 64-bit integer holds.
template <class T>
inline constexpr std::size_t maxElements = std::numeric_limits<std::ptrdiff_t>::max() / sizeof(T);

/// The transfer that elements of a foreign buffer need: bytes of logical elements may hold any value there.
template <class T>
inline constexpr Transfer foreignTransfer = std::is_same_v<T, bool> ? Transfer::TruthValues : Transfer::Bytewise;

template <class T>
std::byte* asBytes(T* elements) noexcept {
    return reinterpret_cast<std::byte*>(elements);
}

} // namespace detail

// ---- Which form it is ----

template <class T>
auto FinalConstructorParser<T>::fromPlainNumber(const ConstructorArguments& arguments) -> std::optional<Array> {
    T scalar;
    if (pyObjectIsEmpty(arguments.initializer) || !pyObjectIsEmpty(arguments.size) ||
        !pyObjectIsEmpty(arguments.vector) || !convertExactNumber(arguments.initializer, scalar))
        return std::nullopt;
    try {
        return factory().template createScalar<T>(scalar);
    } catch (const std::exception&) {
        return std::nullopt; // what is in the way then is met once more, and told
    }
}

template <class T>
auto FinalConstructorParser<T>::processConstructorArgsAndKwargs(const ConstructorArguments& arguments)
    -> std::optional<Array> {
    PyObject* const initializer = arguments.initializer;
    PyObject* const size = arguments.size;
    PyObject* const vector = arguments.vector;
    const bool hasInitializer = !pyObjectIsEmpty(initializer);
    const bool hasVector = !pyObjectIsEmpty(vector);
    const bool hasSize = !pyObjectIsEmpty(size);
    if (hasInitializer && hasVector) {
        setError(PyExc_TypeError,
                 arguments.vectorByKeyword
                     ? "initializer and 'vector' must not both be specified."
                     : "more than two positional arguments must not be specified. A third will be treated as "
                       "'vector', which must not be specified when an initializer is specified.");
        return std::nullopt;
    }
    return withConstructionErrors<T>(m_requestedElements, [&]() -> std::optional<Array> {
        if (hasSize) {
            // Of the items of exact lists and tuples no method is called.
            const bool isRead = PyTuple_CheckExact(size) || PyList_CheckExact(size)
                                    ? m_shape.processSizeKwarg(size)
                                    : countingRecursion([&] { return m_shape.processSizeKwarg(size); });
            if (!isRead || !setDimsAndReserve(hasInitializer || hasVector))
                return std::nullopt;
        } else if (!hasInitializer && !hasVector) {
            m_shape.setSizeDims({0, 0});
        }
        if (hasVector ? !processVectorKwarg(vector) : hasInitializer && !processInitializerKwarg(initializer))
            return std::nullopt;
        if (!hasInitializer && !hasVector)
            return createZeroFilled();
        if (m_array)
            return std::move(m_array);
        if (!m_buffer)
            m_buffer = factory().template createBuffer<T>(0);
        return factory().template createArrayFromBuffer<T>(asSpan(governingDims()), *std::move(m_buffer));
    });
}

template <class T>
auto FinalConstructorParser<T>::createZeroFilled() -> Array {
    constexpr std::size_t fewBytes = 1024; // for which the library has no zeros at hand
    const std::size_t count = m_requestedElements;
    if (count <= fewBytes / sizeof(T)) {
        std::fill_n(arrayFor(asSpan(governingDims())), count, T{});
        return *std::move(m_array);
    }
    return factory().template createArrayFromBuffer<T>(asSpan(governingDims()),
                                                       factory().template createZeroedBuffer<T>(count));
}

template <class T>
template <class Step>
bool FinalConstructorParser<T>::countingRecursion(Step&& step) {
    return withRecursionCounted(false, [&] { return withConstructionErrors<T>(m_requestedElements, step); });
}

// ---- Blocks of numbers ----

template <class T>
template <bool isConstruction>
bool FinalConstructorParser<T>::openBlock(NumberBlock& block, PyObject* value) {
    return block.open(value) && RunConversion<T>::template from<isConstruction>(block.kind()) != Conversion::Never;
}

template <class T>
bool FinalConstructorParser<T>::readBlockInto(const NumberBlock& block, T* target) {
    return readGapless(block, ElementOrder::ColumnMajor, detail::asBytes(target), ElementWriter::of<T>());
}

// ---- Memory ----

template <class T>
bool FinalConstructorParser<T>::setDimsAndReserve(bool valuesFollow) {
    const auto count = m_shape.getNumberOfElements();
    if (!count || *count > detail::maxElements<T>)
        return raiseUnableToAllocate(count, elementRow<T>.name);
    m_requestedElements = m_elementsOfSize = *count;
    if (valuesFollow)
        bufferFor(*count);
    return true;
}

template <class T>
bool FinalConstructorParser<T>::reserveElements(std::optional<std::size_t> count) {
    if (!count)
        return raiseUnableToAllocate(count, elementRow<T>.name);
    m_requestedElements = *count;
    m_elements.reserve(*count);
    return true;
}

template <class T>
T* FinalConstructorParser<T>::bufferFor(std::size_t count) {
    if (!m_buffer && count != 0) {
        m_requestedElements = count;
        if (count > detail::maxElements<T>)
            throw std::bad_array_new_length();
        m_buffer = factory().template createBuffer<T>(count);
    }
    return m_buffer ? m_buffer->get() : nullptr;
}

template <class T>
T* FinalConstructorParser<T>::arrayFor(std::span<const std::size_t> extents) {
    auto [array, elements] = factory().template createUnfilledArray<T>(extents);
    m_array.emplace(std::move(array));
    return elements;
}

template <class T>
data::ArrayFactory& FinalConstructorParser<T>::factory() {
    static data::ArrayFactory factory; // all are alike
    return factory;
}

// ---- vector ----

template <class T>
bool FinalConstructorParser<T>::processVectorKwarg(PyObject* vector) {
    if (!PySequence_Check(vector)) {
        setError(PyExc_ValueError, "value of 'vector' must be a sequence.");
        return false;
    }
    if (pyObjectIsUnicodeOrString(vector)) {
        setError(PyExc_ValueError, "value passed to 'vector' must be numeric.");
        return false;
    }
    const Py_ssize_t length = PySequence_Size(vector);
    if (length < 0)
        return false;
    Dims& found = m_shape.initializerDims();
    if (!m_shape.isSizeGiven())
        found.push_back(1);
    found.push_back(static_cast<std::size_t>(length));
    if (!m_shape.checkInitializerDimsAgainstSize())
        return false;
    T* target = bufferFor(static_cast<std::size_t>(length));
    return readFlatSequence(vector, static_cast<std::size_t>(length), target) ||
           (mayTakeTheLongRoad() && countingRecursion([&] { return readVectorItems(vector, length, target); }));
}

template <class T>
bool FinalConstructorParser<T>::readFlatSequence(PyObject* sequence, std::size_t length, T* target) {
    if (!exactItems(sequence).empty())
        return RegularReader<T, true>({&length, 1}, ElementOrder::RowMajor, target).read(sequence);
    NumberBlock block;
    return openBlock<true>(block, sequence) && block.counts().size() == 1 &&
           static_cast<std::size_t>(block.elementCount()) == length && readBlockInto(block, target);
}

template <class T>
bool FinalConstructorParser<T>::readVectorItems(PyObject* vector, Py_ssize_t length, T* target) {
    FetchedItemsWatch watch;
    for (Py_ssize_t i = 0; i < length; ++i) {
        if (!watch.pass())
            return false;
        const PyRef item = PyRef::steal(PySequence_GetItem(vector, i));
        if (!item) {
            if (mayReplaceError())
                PyErr_Format(PyExc_RuntimeError, "item %zd could not be retrieved.", i);
            return false;
        }
        if (PySequence_Check(item.get())) {
            setError(PyExc_TypeError, "value of 'vector' must be an unnested sequence.");
            return false;
        }
        const ElementResult<T> result = convertToElement<T>(item.get(), true);
        if (!result.hasValue) {
            setError(PyExc_ValueError, result.message); // whatever the type on record
            return false;
        }
        target[i] = result.value;
    }
    return true;
}

// ---- initializer ----

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

// ---- Nested values in reading order ----

template <class T>
bool FinalConstructorParser<T>::processNestedInitializer(PyObject* value, bool isConstruction) {
    return withConstructionErrors<T>(m_requestedElements, [&] {
        const bool isCollected = isConstruction ? collectByShortCut<true>(value) : collectByShortCut<false>(value);
        return isCollected || (mayTakeTheLongRoad() && walkNestedInitializer(value, isConstruction));
    });
}

template <class T>
template <bool isConstruction>
bool FinalConstructorParser<T>::collectByShortCut(PyObject* value) {
    return value != nullptr && (collectRegularNesting<isConstruction>(value) || collectBlock<isConstruction>(value));
}

/// Common to the short cuts that collect: `read` is given room for the elements and fills it. If there is no memory
/// for them, the walk will run short of it too, after the faults that come first.
template <class T>
template <class Range, class Read>
bool FinalConstructorParser<T>::collect(std::size_t count, const Range& extents, Read&& read) {
    try {
        if (read(m_elements.resizeForOverwrite(count))) {
            m_shape.initializerDims().assign(extents.begin(), extents.end());
            return true;
        }
    } catch (const std::bad_alloc&) {
    }
    m_elements.clear();
    return false;
}

template <class T>
template <bool isConstruction>
bool FinalConstructorParser<T>::collectRegularNesting(PyObject* value) {
    const RegularNesting nesting(value);
    if (nesting.rank() == 0)
        return false;
    T scalar;
    if (!convertExactNumber<T, isConstruction>(nesting.firstScalar(), scalar))
        return collectNestedBlocks<isConstruction>(value, nesting);
    const auto count = checkedProduct(nesting.extents());
    return count && collect(static_cast<std::size_t>(*count), nesting.extents(), [&](T* target) {
               return RegularReader<T, isConstruction>(nesting.extents(), ElementOrder::RowMajor, target).read(value);
           });
}

template <class T>
template <bool isConstruction>
bool FinalConstructorParser<T>::collectNestedBlocks(PyObject* value, const RegularNesting& nesting) {
    const BlockNesting blocks(nesting, &RunConversion<T>::template from<isConstruction>);
    const auto count = checkedProduct(blocks.extents());
    return !blocks.extents().empty() && count &&
           collect(static_cast<std::size_t>(*count), blocks.extents(), [&](T* target) {
               return blocks.read(value, ElementOrder::RowMajor, detail::asBytes(target), ElementWriter::of<T>());
           });
}

template <class T>
template <bool isConstruction>
bool FinalConstructorParser<T>::collectBlock(PyObject* value) {
    NumberBlock block;
    return openBlock<isConstruction>(block, value) && collectBlock(block);
}

template <class T>
bool FinalConstructorParser<T>::collectBlock(const NumberBlock& block) {
    return collect(static_cast<std::size_t>(block.elementCount()), block.counts(), [&](T* target) {
        return readGapless(block, ElementOrder::RowMajor, detail::asBytes(target), ElementWriter::of<T>());
    });
}

template <class T>
bool FinalConstructorParser<T>::walkNestedInitializer(PyObject* value, bool isConstruction) {
    struct Collector final : NestedWalk::Sink {
        FinalConstructorParser& parser;
        bool isConstruction;
        std::size_t taken = 0;

        Collector(FinalConstructorParser& p, bool construction) : parser(p), isConstruction(construction) {}
        bool append(PyObject* scalar) override {
            const ElementResult<T> result = convertToElement<T>(scalar, isConstruction);
            if (!result.hasValue) {
                setError(result.exceptionType, result.message);
                return false;
            }
            // What `size` cannot take will be refused once all values are known to be good, and is not kept.
            if (taken++ < parser.m_elementsOfSize) {
                parser.m_requestedElements = std::max(parser.m_requestedElements, taken);
                parser.m_elements.push_back(result.value);
            }
            return true;
        }
        bool reserve(std::optional<std::size_t> expected) override {
            // What `size` asks for has been reserved, and the lengths met so far need not come true.
            return parser.m_shape.isSizeGiven() || parser.reserveElements(expected);
        }
        std::size_t count() const override { return taken; }
    };
    Collector collector(*this, isConstruction);
    return countingRecursion([&] { return NestedWalk(collector, m_shape.initializerDims()).run(value); });
}

} // namespace orvane::python
