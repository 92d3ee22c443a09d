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

inline constexpr std::string_view noEnding = "";
inline constexpr std::string_view complexEnding = "[complex]";

/// "orvane.", the name of the type and an ending, as a character array of exactly that length.
template <PythonElement T, const std::string_view& Ending>
struct TypeText {
    static constexpr std::string_view prefix = "orvane.";
    static constexpr std::string_view name = elementRow<T>.name;
    static constexpr auto joined = [] {
        struct {
            char text[prefix.size() + name.size() + Ending.size() + 1]{};
        } all;
        char* end = all.text;
        for (const std::string_view part : {prefix, name, Ending}) {
            end = std::copy(part.begin(), part.end(), end);
        }
        return all;
    }();
    static constexpr const auto& text = joined.text;
};

/// "orvane.double" and its like.
template <PythonElement T>
using PythonTypeName = TypeText<T, noEnding>;

/// Arrays of `T` as type checkers know them: "orvane.double", "orvane.double[complex]".
template <PythonElement T>
using PythonAnnotation = TypeText<T, (isComplexElement<T> ? complexEnding : noEnding)>;

/// "a complex orvane.double array"; logical arrays are never complex, and their kind is not told.
template <PythonElement T>
std::string describe(bool isComplex) {
    std::string text = std::is_same_v<T, bool> ? "an " : isComplex ? "a complex " : "a real ";
    return text.append(PythonTypeName<T>::text).append(" array");
}

} // namespace detail

} // namespace python
} // namespace orvane
