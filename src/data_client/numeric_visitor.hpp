// From an array of unknown element kind to a visitor that is told the element type.
#pragma once

#include "array.hpp"
#include "element_types.hpp"
#include "exception.hpp"
#include "typed_array.hpp"

#include <functional>
#include <type_traits>
#include <utility>

namespace orvane::data {

namespace detail {

/// What a visitor gets for elements of type `T`.
template <class T>
using VisitedArray = std::conditional_t<std::is_same_v<T, char16_t>, CharArray, TypedArray<T>>;

template <class Source, class Visitor>
decltype(auto) visitByArrayType(Source&& array, Visitor& visitor) {
    using Result = std::invoke_result_t<Visitor&, VisitedArray<double>>;
    using Visit = Result (*)(Source&&, Visitor&);
    static constexpr auto visits = tableByArrayType<Visit>([]<class T>() consteval -> Visit {
        return [](Source&& source, Visitor& v) -> Result {
            return std::invoke(v, VisitedArray<T>(std::forward<Source>(source)));
        };
    });

    const auto type = static_cast<std::int32_t>(array.getType());
    if (!isElementKind(type)) {
        throw ArrayException<Exception, ExceptionType::InvalidArrayType>(
            "Invalid type of array passed to apply_numeric_visitor.");
    }
    return visits[static_cast<std::size_t>(type)](std::forward<Source>(array), visitor);
}

} // namespace detail

/// Calls the visitor with the array as a `TypedArray<T>` of its element type (a `CharArray` for
/// characters), which is handed over and dropped after the call, and returns what the visitor returns. All
/// overloads of the visitor must return what the one for `double` returns, or something that converts.
/// Throws when the element kind is none that this layer knows.
template <class Visitor>
decltype(auto) apply_numeric_visitor(Array&& array, Visitor&& visitor) {
    return detail::visitByArrayType(std::move(array), visitor);
}

/// The same with a handle that shares the array with the caller's.
template <class Visitor>
decltype(auto) apply_numeric_visitor(const Array& array, Visitor&& visitor) {
    return detail::visitByArrayType(array, visitor);
}

} // namespace orvane::data
