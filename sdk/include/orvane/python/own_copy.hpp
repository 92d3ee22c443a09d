// Arrays of C++ with copies of Python's elements.
#pragma once

#include <orvane/data.hpp>
#include <orvane/python/element.hpp>
#include <orvane/python/exchange.hpp>
#include <orvane/python/from_python.hpp>
#include <orvane/python/loan.hpp>

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

namespace detail {

/// Copies the elements of a span or a loan to where they stand without gaps.
template <class T, class Source = data::ColumnMajorSpan<const T>>
void copyElements(const Source& source, T* target) {
    if (source.isContiguous()) {
        std::copy_n(source.data(), source.size(), target);
        return;
    }
    std::vector<std::size_t> position(source.rank());
    const T* column = source.data();
    for (T* const end = target + source.size(); target != end;) {
        for (std::size_t i = 0; i < source.extent(0); ++i) {
            *target++ = column[static_cast<std::ptrdiff_t>(i) * source.stride(0)];
        }
        // On to the next column, by the first of the other subscripts that has not come to its end.
        for (std::size_t d = 1; d < source.rank(); ++d) {
            column += source.stride(d);
            if (++position[d] < source.extent(d)) {
                break;
            }
            column -= static_cast<std::ptrdiff_t>(std::exchange(position[d], 0)) * source.stride(d);
        }
    }
}

} // namespace detail

/// The elements of a Python array or view in an array of the handle's own, for keeping, for other threads and for
/// writing. They are copied once; the Python array is left as it is. A view of one dimension becomes a row.
///
/// TypeError as by `fromPython`; IndexError and "too many indices." as by `lendElements`.
template <PythonElement T>
data::TypedArray<T> copyFromPython(PyObject* object) {
    if (!hasExchange()) { // a package from before elements were lent: it copies twice
        data::TypedArray<T> array = fromPython<T>(object);
        array.unshare();
        return array;
    }
    const LentElements<const T> elements = lendElements<T>(object);
    const std::size_t isLine = elements.rank() == 1 ? 1 : 0;
    std::vector<unsigned long> extents(elements.rank() + isLine, 1);
    for (std::size_t d = 0; d < elements.rank(); ++d) {
        extents[d + isLine] = elements.extent(d);
    }
    data::ArrayFactory factory;
    auto buffer = factory.createBuffer<T>(elements.size());
    detail::copyElements<T>(elements, buffer.get());
    return factory.createArrayFromBuffer<T>(std::move(extents), std::move(buffer));
}

/// A parameter of bound functions: an array with a copy of the caller's elements, made by `copyFromPython`. Nobody
/// shares it, so it is written to at once, and returned without another copy.
template <PythonElement T>
class OwnCopy : public data::TypedArray<T> {
public:
    /// Empty: 0-by-0.
    OwnCopy() = default;
    explicit OwnCopy(PyObject* object) : data::TypedArray<T>(copyFromPython<T>(object)) {}
};

} // namespace python
} // namespace orvane
