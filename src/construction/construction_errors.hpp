// What becomes of C++ exceptions while an array is made.
#pragma once

#include <Python.h>

#include <cstddef>
#include <exception>
#include <new>
#include <optional>
#include <stdexcept>
#include <string_view>

#include <orvane_data_array/element_table.hpp>

#include "vocabulary/boundary.hpp"
#include "vocabulary/python_values.hpp"

namespace orvane::python {

/// MemoryError in the words of a construction; returns false. A count that no 64-bit number can tell is written as
/// the largest. `typeName` is one of the table of element types, where a null character follows each.
bool raiseUnableToAllocate(std::optional<std::size_t> count, std::string_view typeName);

/// Runs one step of the construction of an array of `T` and hands on its result. Whatever the step throws becomes a
/// Python error, and the result an empty one. For want of memory the error tells the count that `elementCount` bears
/// at that moment.
template <class T, class Step>
auto withConstructionErrors(const std::size_t& elementCount, Step&& step) -> decltype(step()) {
    try {
        return step();
    } catch (const std::bad_alloc&) {
        raiseUnableToAllocate(elementCount, elementRow<T>.name);
    } catch (const std::length_error&) {
        raiseUnableToAllocate(elementCount, elementRow<T>.name);
    } catch (const OutOfMemory&) {
        raiseUnableToAllocate(elementCount, elementRow<T>.name);
    } catch (const std::exception& refusal) {
        setError(PyExc_RuntimeError, refusal.what());
    }
    return {};
}

} // namespace orvane::python
