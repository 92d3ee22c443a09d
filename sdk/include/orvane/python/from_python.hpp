// Arrays of C++ from Python objects.
#pragma once

#include <orvane/data.hpp>
#include <orvane/python/element.hpp>
#include <orvane/python/errors.hpp>
#include <orvane/python/lend.hpp>
#include <orvane/python/module.hpp>

#include <optional>
#include <string>
#include <utility>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

namespace detail {

/// TypeError unless `object` is an array of that element type, real or complex as `T` is.
template <PythonElement T>
void requireArray(PyObject* object) {
    if (isArray<T>(object)) {
        return;
    }
    const std::string expected = describe<T>(isComplexElement<T>);
    if (isOfTypeOf<T>(object)) {
        refuse(expected, describe<T>(!isComplexElement<T>));
    }
    refuse(expected, object);
}

} // namespace detail

/// As `fromPython`, but nothing, without an error set, when the object is not an array of that type and kind.
template <PythonElement T>
std::optional<data::TypedArray<T>> tryFromPython(PyObject* object) {
    if (!isArray<T>(object)) {
        return std::nullopt;
    }
    return data::TypedArray<T>(detail::lend(object));
}

/// The elements of a Python array, without a copy: time does not depend on how many there are. (Two cases copy once:
/// the first hand-over of an array that Python made, and that of a view, whose selected elements are gathered.)
///
/// The handle is lent: it keeps the Python object alive, but not the elements in their place. An assignment to the
/// array changes what it reads or leaves it behind, and a `reshape` makes it stale, not to be touched any more; so use
/// it up before any Python code runs again, or take `copyFromPython`. Writing through it is safe at any time: like
/// every shared array it is copied first, and Python's stays as it was.
///
/// TypeError, naming what was expected and what came, unless the object is an array of that element type, real or
/// complex as `T` is. The error of the materialisation when a view cannot be gathered.
template <PythonElement T>
data::TypedArray<T> fromPython(PyObject* object) {
    detail::requireArray<T>(object);
    return data::TypedArray<T>(detail::lend(object));
}

/// An array of any element type, lent in the same way, for `orvane::data::apply_numeric_visitor`.
inline data::Array anyFromPython(PyObject* object) {
    if (!isArray(object)) {
        detail::refuse("an orvane array", object);
    }
    return detail::lend(object);
}

} // namespace python
} // namespace orvane
