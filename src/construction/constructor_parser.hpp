// Reads the values of one construction, or of the right side of one assignment.
#pragma once

#include <Python.h>

#include <cstddef>
#include <limits>
#include <optional>
#include <span>

#include "construction/constructor_arguments.hpp"
#include "construction/element_store.hpp"
#include "construction/initializer_shape.hpp"
#include "data_client/array_factory.hpp"

namespace orvane::python {

class NumberBlock;
class RegularNesting;

/// Lives for one call. Two uses:
///  - a construction calls `processConstructorArgsAndKwargs` once and gets the array;
///  - an assignment calls `processNestedInitializer` once and reads `elements` and `governingDims`.
/// Whatever fails sets a Python error; no C++ exception comes out of these functions.
///
/// Regular input made of the interpreter's own types is read by short cuts that run no code of the caller's
/// (`regular_nesting.hpp`, `number_block.hpp`, `block_nesting.hpp`). A short cut that meets anything else is given
/// up without a trace, and the walk of `nested_walk.hpp` reads the value from the start: it alone knows the faults.
///
/// Instantiated for the eleven element types and the complex forms of the ten numeric ones.
template <class T>
class FinalConstructorParser {
public:
    /// Decides which form of constructor call was meant and makes the array, column-major. Nothing on failure.
    std::optional<data::TypedArray<T>> processConstructorArgsAndKwargs(const ConstructorArguments& arguments);

    /// The short cut for a number as the only argument, which needs no parser. Nothing, with no error set, when one has
    /// to look at the arguments.
    static std::optional<data::TypedArray<T>> fromPlainNumber(const ConstructorArguments& arguments);

    /// Collects the scalars of a nested value in reading order, the last dimension fastest, and finds its extents.
    /// A bare scalar is 1-by-1, a flat list has one dimension, and trailing ones are kept. `value` may be null,
    /// which is refused. `isConstruction` is handed to the element conversion.
    bool processNestedInitializer(PyObject* value, bool isConstruction);

    /// The same of an open block, whose numbers become elements somehow. False, with no error set unless by a signal's
    /// handler, when one does not fit or there is no memory.
    bool collectBlock(const NumberBlock& block);

    /// What was collected.
    std::span<const T> elements() const noexcept { return m_elements; }
    /// The extents of what was collected; for a construction, those that `size` asks for when it is given.
    const Dims& governingDims() const noexcept { return m_shape.governingDims(); }

private:
    using Array = data::TypedArray<T>;
    using Agreement = InitializerShape::Agreement;

    // The three forms of construction. They leave the elements in `m_buffer`, in column-major order, or the whole in
    // `m_array`.
    bool processInitializerKwarg(PyObject* initializer);
    bool processVectorKwarg(PyObject* vector);
    Array createZeroFilled();

    // The ways in which an initializer is read.
    template <class Read>
    bool readByShortCut(std::span<const std::size_t> extents, Read&& read);
    bool readRegularInitializer(PyObject* initializer);
    [[gnu::noinline]] bool readNestedBlocks(PyObject* initializer, const RegularNesting& nesting);
    [[gnu::noinline]] bool readBlockInitializer(PyObject* initializer);
    bool readUnnestedInitializer(PyObject* initializer);
    bool processForeignBuffer(PyObject* exporter);
    bool processBufferInitializer(const Py_buffer& view);
    bool walkInitializer(PyObject* initializer);

    // The ways in which a nested value is collected in reading order. The short cuts are not inlined, to stay off the
    // stack on which the walk has code of the caller's run.
    template <bool isConstruction>
    [[gnu::noinline]] bool collectByShortCut(PyObject* value);
    template <class Range, class Read>
    bool collect(std::size_t count, const Range& extents, Read&& read);
    template <bool isConstruction>
    bool collectRegularNesting(PyObject* value);
    template <bool isConstruction>
    [[gnu::noinline]] bool collectNestedBlocks(PyObject* value, const RegularNesting& nesting);
    template <bool isConstruction>
    [[gnu::noinline]] bool collectBlock(PyObject* value);
    bool walkNestedInitializer(PyObject* value, bool isConstruction);
    /// Reads the `length` items of a flat list or block of numbers.
    [[gnu::noinline]] bool readFlatSequence(PyObject* sequence, std::size_t length, T* target);
    bool readVectorItems(PyObject* vector, Py_ssize_t length, T* target);

    template <bool isConstruction>
    static bool openBlock(NumberBlock& block, PyObject* value);
    static bool readBlockInto(const NumberBlock& block, T* target);

    /// Asks for the memory of what `size` describes, before anything else is read. False with MemoryError set.
    bool setDimsAndReserve(bool valuesFollow);
    /// Makes room for the elements of a walk, once. False with MemoryError set.
    bool reserveElements(std::optional<std::size_t> count);
    /// Fixes the extents once `count` elements are known to come. False with ShapeError or SizeError set.
    bool settleDims(std::size_t count);

    /// The block of the new array's elements, made on the first call. Throws for want of memory.
    T* bufferFor(std::size_t count);
    /// The new array itself, for whoever knows its extents before all else; its elements are to be filled. Throws for
    /// want of memory.
    T* arrayFor(std::span<const std::size_t> extents);
    static data::ArrayFactory& factory();
    /// Runs a step in which code of the caller's may come back to where it was called.
    template <class Step>
    bool countingRecursion(Step&& step);
    /// After a short cut was given up: true unless the handler of a signal has raised an error meanwhile.
    static bool mayTakeTheLongRoad() { return PyErr_Occurred() == nullptr; }

    InitializerShape m_shape;
    std::optional<data::Buffer<T>> m_buffer;
    std::optional<Array> m_array;
    ElementStore<T> m_elements;
    std::size_t m_requestedElements = 0; ///< what memory was last asked for, for the words of a refusal
    std::size_t m_elementsOfSize = std::numeric_limits<std::size_t>::max(); ///< no more than these are kept
};

} // namespace orvane::python
