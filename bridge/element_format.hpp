// The element kinds by their PEP 3118 formats.
#pragma once

#include <orvane/data.hpp>

#include <array>
#include <cstddef>
#include <initializer_list>
#include <string_view>
#include <type_traits>
#include <utility>

namespace orvane::bridge {

namespace detail {

template <class T>
inline constexpr bool isComplexInteger = isComplexElement<T> && std::is_integral_v<RealElement<T>>;

/// "d", and "Zd" of a complex kind. Complex integers, which no consumer knows by "Zq", are told as structures of two
/// named parts if `isForOthers`.
template <class T, bool isForOthers>
inline constexpr auto formatText = [] {
    std::array<char, 24> text{};
    std::size_t end = 0;
    const auto add = [&](std::string_view piece) {
        for (const char character : piece) {
            text[end++] = character;
        }
    };
    constexpr char letter = elementRow<T>.format;
    if (isForOthers && isComplexInteger<T>) {
        for (const std::string_view after : {":real:", ":imag:}"}) {
            add(end == 0 ? "T{" : "");
            text[end++] = letter;
            add(after);
        }
    } else {
        add(isComplexElement<T> ? "Z" : "");
        text[end] = letter;
    }
    return text;
}();

} // namespace detail

/// By the number of an element kind, the format under which consumers of buffers are told of it.
inline constexpr auto exportedFormats = tableByArrayType<const char*>([]<class T>() consteval -> const char* {
    if constexpr (std::is_same_v<T, char16_t>) {
        return nullptr; // Python's arrays do not have it
    } else {
        return detail::formatText<T, true>.data();
    }
});

/// Calls `visit.template operator()<T>()` for the element kind of a format such as "d" or "Zi", and tells whether there
/// is one.
template <class Visit>
bool visitFormat(std::string_view format, Visit&& visit) {
    return [&]<std::size_t... I>(std::index_sequence<I...>) {
        const auto visitIfNamed = [&]<class T>(std::type_identity<T>) {
            if constexpr (!std::is_same_v<T, char16_t>) {
                if (format == detail::formatText<T, false>.data()) {
                    visit.template operator()<T>();
                    return true;
                }
            }
            return false;
        };
        return (visitIfNamed(std::type_identity<std::tuple_element_t<I, ElementKinds>>()) || ...);
    }(std::make_index_sequence<elementKindCount>());
}

} // namespace orvane::bridge
