// Between C++ exceptions and Python errors.
#pragma once

#include <orvane/data.hpp>
#include <orvane/python/reference.hpp>

#include <exception>
#include <new>
#include <string>
#include <utility>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

/// Says that a Python error is set: catch it where null goes back to the interpreter. `guarded` does.
class PythonError : public std::exception {
public:
    const char* what() const noexcept override { return "a Python error is set"; }
};

namespace detail {

/// Sets the TypeError that names what was expected and what came, and throws. A null that comes with an error set
/// keeps that error, which tells more.
[[noreturn]] inline void refuse(const std::string& expected, const std::string& came) {
    PyErr_Format(PyExc_TypeError, "expected %s, got %s", expected.c_str(), came.c_str());
    throw PythonError();
}

[[noreturn]] inline void refuse(const std::string& expected, PyObject* object) {
    if (object == nullptr && PyErr_Occurred() != nullptr) {
        throw PythonError();
    }
    refuse(expected, object == nullptr ? "null" : Py_TYPE(object)->tp_name);
}

} // namespace detail

/// Runs the body of a function that Python calls. `body` gives a `Reference` or a new `PyObject*`; what it throws
/// becomes a Python error and null: `PythonError` the error that is set, want of memory `MemoryError`, everything else
/// that derives from `std::exception`, the data-array library's refusals among them, `RuntimeError` with its words.
template <class Body>
PyObject* guarded(Body&& body) {
    using OutOfMemory = data::detail::ArrayException<Exception, data::ExceptionType::OutOfMemory>;
    try {
        return Reference(std::forward<Body>(body)()).release();
    } catch (const PythonError&) {
    } catch (const std::bad_alloc&) {
        PyErr_NoMemory();
    } catch (const OutOfMemory&) {
        PyErr_NoMemory();
    } catch (const std::exception& fault) {
        PyErr_SetString(PyExc_RuntimeError, fault.what());
    } catch (detail::ThreadEnd&) {
        throw;
    } catch (...) {
        PyErr_SetString(PyExc_RuntimeError, "unknown C++ exception");
    }
    return nullptr;
}

} // namespace python
} // namespace orvane
