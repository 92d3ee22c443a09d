// The element types of Python's arrays and what they are called.
#pragma once

#include <orvane/data.hpp>

#include <algorithm>
#include <string>
#include <string_view>
#include <type_traits>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

/// An element type that Python's arrays can have: the ten numeric types, real and complex, and `bool`.
template <class T>
concept PythonElement = data::ArrayElement<T> && !std::is_same_v<T, char16_t>;

namespace detail {

/// "orvane.double" and its like, as a character array of exactly that length.
template <PythonElement T>
struct PythonTypeName {
    static constexpr std::string_view prefix = "orvane.";
    static constexpr std::string_view ending = elementRow<T>.name;
    static constexpr auto joined = [] {
        struct {
            char text[prefix.size() + ending.size() + 1]{};
        } name;
        std::copy(ending.begin(), ending.end(), std::copy(prefix.begin(), prefix.end(), name.text));
        return name;
    }();
    static constexpr const auto& text = joined.text;
};

/// "a complex orvane.double array"; logical arrays are never complex, and their kind is not told.
template <PythonElement T>
std::string describe(bool isComplex) {
    std::string text = std::is_same_v<T, bool> ? "an " : isComplex ? "a complex " : "a real ";
    return text.append(PythonTypeName<T>::text).append(" array");
}

} // namespace detail

} // namespace python
} // namespace orvane
