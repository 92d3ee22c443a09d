// The definitions of `FinalConstructorParser`, for the few sources that instantiate it; here the choice of the form,
// the memory, and `vector`.
#pragma once

#include "construction/constructor_parser.hpp"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <limits>
#include <new>
#include <optional>
#include <span>
#include <utility>

#include "construction/construction_errors.hpp"
#include "construction/constructor_collecting_impl.hpp"
#include "construction/constructor_initializer_impl.hpp"
#include "construction/number_block.hpp"
#include "construction/regular_nesting.hpp"
#include "elements/conversion.hpp"
#include "vocabulary/caller_code.hpp"
#include "vocabulary/error_state.hpp"
#include "vocabulary/extents.hpp"
#include "vocabulary/py_ref.hpp"
#include "vocabulary/python_values.hpp"

namespace orvane::python {

namespace detail {

/// As many elements as have a size in bytes that a signed 64-bit integer holds.
template <class T>
inline constexpr std::size_t maxElements = std::numeric_limits<std::ptrdiff_t>::max() / sizeof(T);

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

template <class T>
bool FinalConstructorParser<T>::readBlockInto(const NumberBlock& block, T* target) {
    return readGapless(block, ElementOrder::ColumnMajor, detail::asBytes(target), ElementWriter::of<T>());
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

} // namespace orvane::python
