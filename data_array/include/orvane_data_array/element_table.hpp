// The one table of element types. Every layer, from the data-array library up to the Python types,
// draws the names, numbers and sizes of elements from here.
#pragma once

#include <array>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

namespace orvane {

/// One row of the table: an element type that has a name of its own. Ten of the eleven also exist in
/// complex form, stored as interleaved (real, imaginary) pairs.
struct ElementRow {
    std::string_view name;         ///< the users' word for the type, as in `orvane.single`
    char format;                   ///< its PEP 3118 format character
    std::int32_t arrayType;        ///< its number at the boundary with the data-array library
    std::int32_t complexArrayType; ///< the number of its complex form, or -1 where there is none
};

/// In the order that every other table follows; a row's position is the type's `SupportedArrayEnum`.
inline constexpr std::array<ElementRow, 11> elementTable{{
    {"double", 'd', 3, 13},
    {"single", 'f', 4, 14},
    {"int8", 'b', 5, 15},
    {"uint8", 'B', 6, 16},
    {"int16", 'h', 7, 17},
    {"uint16", 'H', 8, 18},
    {"int32", 'i', 9, 19},
    {"uint32", 'I', 10, 20},
    {"int64", 'q', 11, 21},
    {"uint64", 'Q', 12, 22},
    {"logical", '?', 0, -1},
}};

/// The C++ types of the rows, in the same order.
using ElementTypes = std::tuple<double, float, std::int8_t, std::uint8_t, std::int16_t, std::uint16_t, std::int32_t,
                                std::uint32_t, std::int64_t, std::uint64_t, bool>;

inline constexpr std::size_t elementTypeCount = std::tuple_size_v<ElementTypes>;
static_assert(elementTypeCount == elementTable.size());

/// The number of the 16-bit character type, which the library knows and Python does not.
inline constexpr std::int32_t characterArrayType = 1;

/// One more than the greatest number of an element type.
inline constexpr std::int32_t arrayTypeLimit = 23;

template <class T>
struct IsComplex : std::false_type {};
template <class T>
struct IsComplex<std::complex<T>> : std::true_type {};
template <class T>
inline constexpr bool isComplexElement = IsComplex<T>::value;

template <class T>
struct RealOf {
    using type = T;
};
template <class T>
struct RealOf<std::complex<T>> {
    using type = T;
};
/// The real type behind an element type: itself, or the type of its two parts.
template <class T>
using RealElement = typename RealOf<T>::type;

namespace detail {

template <class T, std::size_t... I>
consteval std::size_t positionAmongElementTypes(std::index_sequence<I...>) {
    static_assert((std::is_same_v<T, std::tuple_element_t<I, ElementTypes>> || ...), "not an element type");
    return ((std::is_same_v<T, std::tuple_element_t<I, ElementTypes>> ? I : 0) + ...);
}

} // namespace detail

/// The row number of `T`, or of the parts of a complex `T`.
template <class T>
inline constexpr std::size_t elementIndex =
    detail::positionAmongElementTypes<RealElement<T>>(std::make_index_sequence<elementTypeCount>{});

template <class T>
inline constexpr const ElementRow& elementRow = elementTable[elementIndex<T>];

/// The element type at a position of the table.
template <std::size_t I>
using ElementAt = std::tuple_element_t<I, ElementTypes>;

/// The number of `T` at the boundary with the data-array library.
template <class T>
inline constexpr std::int32_t arrayTypeNumber =
    isComplexElement<T> ? elementRow<T>.complexArrayType : elementRow<T>.arrayType;
template <>
inline constexpr std::int32_t arrayTypeNumber<char16_t> = characterArrayType;

/// Calls `visit.template operator()<T>()` for the element type at `position`, which must be below
/// `elementTypeCount`, and hands on what it returns.
template <class Visit>
constexpr decltype(auto) visitElementType(std::size_t position, Visit&& visit) {
    return [&]<std::size_t... I>(std::index_sequence<I...>) -> decltype(auto) {
        using Result = decltype(visit.template operator()<ElementAt<0>>());
        using Call = Result (*)(Visit&);
        static constexpr Call calls[] = {+[](Visit& v) -> Result { return v.template operator()<ElementAt<I>>(); }...};
        return calls[position](visit);
    }(std::make_index_sequence<elementTypeCount>{});
}

} // namespace orvane
