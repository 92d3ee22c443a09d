// What becomes of C++ exceptions while an array is made.
#pragma once

#include <Python.h>

#include <concepts>
#include <cstddef>
#include <exception>
#include <new>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

#include <orvane_data_array/element_table.hpp>

#include "vocabulary/boundary.hpp"
#include "vocabulary/python_values.hpp"

namespace orvane::python {

/// MemoryError in the words of a construction; returns false. A count that no 64-bit number can tell is written as
/// the largest. `typeName` is one of the table of element types, where a null character follows each.
bool raiseUnableToAllocate(std::optional<std::size_t> count, std::string_view typeName);

/// Runs one step of the construction of an array of `T` and hands on its result. Whatever the step throws becomes a
/// Python error, and the result an empty one. For want of memory the error tells the count that `countElements` gives
/// at that moment.
template <class T, std::invocable CountElements, class Step>
auto withConstructionErrors(CountElements countElements, Step&& step) -> decltype(step()) {
    try {
        return step();
    } catch (const std::bad_alloc&) {
        raiseUnableToAllocate(countElements(), elementRow<T>.name);
    } catch (const std::length_error&) {
        raiseUnableToAllocate(countElements(), elementRow<T>.name);
    } catch (const OutOfMemory&) {
        raiseUnableToAllocate(countElements(), elementRow<T>.name);
    } catch (const std::exception& refusal) {
        setError(PyExc_RuntimeError, refusal.what());
    }
    return {};
}

/// The same with a count that the step may change.
template <class T, class Step>
auto withConstructionErrors(const std::size_t& elementCount, Step&& step) -> decltype(step()) {
    return withConstructionErrors<T>([&] { return elementCount; }, std::forward<Step>(step));
}

} // namespace orvane::python
