// The 22 kinds of element that a data array can hold, derived from the table of element types: the
// eleven rows, the 16-bit character, and the complex form of every row that has one.
#pragma once

#include <orvane_data_array/element_table.hpp>

#include <array>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>
#include <utility>

namespace orvane {

namespace detail {

template <std::size_t Row>
consteval auto complexFormOfRow() {
    if constexpr (elementTable[Row].complexArrayType >= 0) {
        return std::tuple<std::complex<ElementAt<Row>>>{};
    } else {
        return std::tuple<>{};
    }
}

template <std::size_t... Row>
consteval auto complexForms(std::index_sequence<Row...>) {
    return std::tuple_cat(complexFormOfRow<Row>()...);
}

template <class Wanted, class List>
inline constexpr bool standsIn = false;
template <class Wanted, class... T>
inline constexpr bool standsIn<Wanted, std::tuple<T...>> = (std::is_same_v<Wanted, T> || ...);

} // namespace detail

/// The C++ types of the ten complex kinds, in the order of their rows.
using ComplexElementTypes = decltype(detail::complexForms(std::make_index_sequence<elementTypeCount>{}));

/// The C++ types of all kinds: the rows, the character, the complex forms.
using ElementKinds = decltype(std::tuple_cat(std::declval<ElementTypes>(), std::declval<std::tuple<char16_t>>(),
                                             std::declval<ComplexElementTypes>()));

inline constexpr std::size_t elementKindCount = std::tuple_size_v<ElementKinds>;
static_assert(elementKindCount == 22);

/// A type that a data array can hold.
template <class T>
concept ArrayElement = detail::standsIn<T, ElementKinds>;

/// One of the ten complex kinds.
template <class T>
concept ComplexArrayElement = detail::standsIn<T, ComplexElementTypes>;

/// One entry of `Call` for every array type number, null where no element kind bears the number.
/// `entryFor.template operator()<T>()` gives the entry of kind `T`.
template <class Call, class EntryFor>
consteval std::array<Call, arrayTypeLimit> tableByArrayType(EntryFor entryFor) {
    std::array<Call, arrayTypeLimit> table{};
    [&]<std::size_t... I>(std::index_sequence<I...>) {
        ((table[arrayTypeNumber<std::tuple_element_t<I, ElementKinds>>] =
              entryFor.template operator()<std::tuple_element_t<I, ElementKinds>>()),
         ...);
    }(std::make_index_sequence<elementKindCount>{});
    return table;
}

namespace detail {

inline constexpr auto elementSizes = tableByArrayType<std::size_t>([]<class T>() consteval { return sizeof(T); });

inline constexpr auto complexKinds = tableByArrayType<bool>([]<class T>() consteval { return isComplexElement<T>; });

} // namespace detail

/// Whether an element kind bears the number.
constexpr bool isElementKind(std::int32_t arrayType) noexcept {
    return arrayType >= 0 && arrayType < arrayTypeLimit &&
           detail::elementSizes[static_cast<std::size_t>(arrayType)] != 0;
}

/// The size in bytes of one element of the kind (of the pair, for a complex kind); 0 where no element
/// kind bears the number.
constexpr std::size_t elementSize(std::int32_t arrayType) noexcept {
    return isElementKind(arrayType) ? detail::elementSizes[static_cast<std::size_t>(arrayType)] : 0;
}

/// Whether a complex element kind bears the number.
constexpr bool isComplexKind(std::int32_t arrayType) noexcept {
    return isElementKind(arrayType) && detail::complexKinds[static_cast<std::size_t>(arrayType)];
}

} // namespace orvane
