// Numbers in memory, of any element type, that become elements of one as if each had been a Python number on the way.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

#include <orvane_data_array/element_table.hpp>

#include "elements/conversion.hpp"

namespace orvane::python {

/// Whether numbers of one type become elements of another: none of them, as many as fit, or all.
enum class Conversion { Never, WhereItFits, Always };

/// The number that an item of a real element type is: truth values are 0 and 1.
template <class From>
using NativeNumber = std::conditional_t<std::is_same_v<From, bool>, std::uint8_t, From>;

/// The item at an address, which needs no alignment. Any byte but 0 is true.
template <class From>
NativeNumber<From> loadNumber(const std::byte* address) noexcept {
    NativeNumber<From> number;
    std::memcpy(&number, address, sizeof number);
    if constexpr (std::is_same_v<From, bool>)
        number = number != 0;
    return number;
}

/// Stores a number in a real element, or in one part of a complex one. False when it does not fit. Free of branches
/// wherever the conversion is, so that loops over it become vector instructions.
template <class Real, class Number>
bool storePart(Number number, Real& part) noexcept {
    if constexpr (std::is_same_v<Real, bool>) {
        part = number != 0;
        return !std::is_same_v<Number, std::uint64_t> ||
               number <= static_cast<Number>(std::numeric_limits<std::int64_t>::max());
    } else if constexpr (std::is_same_v<Number, float> && std::is_same_v<Real, float>) {
        part = singleThroughDouble(number);
        return true;
    } else if constexpr (std::is_floating_point_v<Number>) {
        const auto narrowed = narrowPart<Real>(static_cast<double>(number));
        part = narrowed.value_or(Real{});
        return narrowed.has_value();
    } else if constexpr (std::is_same_v<Number, std::uint64_t> && std::is_floating_point_v<Real>) {
        // Floats take the integers of 64 bits with a sign; what is said of greater ones depends on the type.
        part = static_cast<Real>(number);
        return number <= static_cast<Number>(std::numeric_limits<std::int64_t>::max());
    } else {
        return storeInteger(number, part);
    }
}

namespace detail {

/// Whether all numbers of one type are integers, and among those of another or those that floats take.
template <class Real, class From>
consteval bool holdsAll() {
    using Integer = std::conditional_t<std::is_integral_v<Real> && !std::is_same_v<Real, bool>, Real, std::int64_t>;
    using Limits = std::numeric_limits<NativeNumber<From>>;
    if constexpr (std::is_integral_v<From> && !std::is_same_v<From, bool>)
        return std::in_range<Integer>(Limits::min()) && std::in_range<Integer>(Limits::max());
    else
        return std::is_same_v<From, bool>;
}

} // namespace detail

/// Whether items of type `From`, one of the eleven element types or a complex form, become elements of type `T`.
/// Assignment is more particular than construction: there `logical` takes integers only.
template <class T, class From, bool isConstruction>
consteval Conversion conversionOf() {
    using Real = RealElement<T>;
    using Part = RealElement<From>;
    constexpr auto unlessRefused = [](bool fitsAlways) {
        return fitsAlways ? Conversion::Always : Conversion::WhereItFits;
    };
    if constexpr (!isComplexElement<From> && std::is_integral_v<Part>)
        return unlessRefused(detail::holdsAll<Real, Part>());
    else if constexpr (std::is_same_v<T, bool>)
        return isConstruction ? Conversion::Always : Conversion::Never;
    else if constexpr (isComplexElement<T> ? false : isComplexElement<From> || std::is_integral_v<T>)
        return Conversion::Never;
    else if constexpr (std::is_floating_point_v<Real>)
        return Conversion::Always;
    else // parts are floats by then, which hold an integer of 32 bits and not always one of 64
        return unlessRefused(sizeof(Part) <= 4 && detail::holdsAll<Real, Part>());
}

} // namespace orvane::python
