// The border between C++ exceptions and Python errors.
#pragma once

#include <Python.h>

#include <exception>
#include <new>
#include <stdexcept>

#include "data_client/exception.hpp"

namespace orvane::python {

/// The data-array library's word for "no memory" (its status 19).
using OutOfMemory = data::detail::ArrayException<orvane::Exception, data::ExceptionType::OutOfMemory>;

/// Runs `body` and hands on its result. Want of memory, wherever it shows, becomes `MemoryError` and
/// `failure` is returned. Any other exception of the data-array library goes on: callers check beforehand
/// whatever Python code could provoke, so none is met in an intact process.
template <class Body, class Result>
Result withMemoryErrors(Result failure, Body&& body) {
    try {
        return body();
    } catch (const std::bad_alloc&) {
    } catch (const std::length_error&) {
    } catch (const OutOfMemory&) {
    }
    PyErr_NoMemory();
    return failure;
}

} // namespace orvane::python
