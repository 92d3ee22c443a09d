// Range-checked narrowing of numbers to element types. Every road by which a double becomes an element,
// the conversion of Python values as well as the materialising of views, ends here.
#pragma once

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <type_traits>

#include <boost/numeric/conversion/converter.hpp>

#include <orvane_data_array/element_table.hpp>

namespace orvane::python {

/// `value` truncated toward zero, or nothing when it lies outside the type. The accepted range is open at
/// both ends: 127.9 and -128.9 fit `int8`, and -2**63 does not fit `int64`, whose lower limit is a rounded
/// one. NaN becomes 0.
template <class Integer>
std::optional<Integer> truncateToInteger(double value) noexcept {
    static_assert(std::is_integral_v<Integer> && !std::is_same_v<Integer, bool>);
    using Converter = boost::numeric::converter<Integer, double>; // truncates by default
    if (std::isnan(value))
        return Integer{0};
    if (Converter::out_of_range(value) != boost::numeric::cInRange)
        return std::nullopt;
    return static_cast<Integer>(value);
}

/// `value` rounded to a float. Beyond the largest float, in either direction, it is plus infinity: overflow
/// into `single` never raises and never gives minus infinity.
inline float narrowToSingle(double value) noexcept {
    if (std::abs(value) > static_cast<double>(std::numeric_limits<float>::max()))
        return std::numeric_limits<float>::infinity();
    return static_cast<float>(value);
}

/// `value` as it comes back from a Python float: a signalling NaN is quieted. Compilers drop a conversion to
/// double and back, and its effect on NaNs with it, so the bit is set by hand.
inline float quieted(float value) noexcept {
    constexpr std::uint32_t quietBit = 0x00400000;
    return std::isnan(value) ? std::bit_cast<float>(std::bit_cast<std::uint32_t>(value) | quietBit) : value;
}

/// `value` after a conversion to a Python float and back by `narrowToSingle`, in a form that compilers vectorise.
inline float singleThroughDouble(float value) noexcept {
    // Signed throughout: the common vector instructions compare signed integers only.
    constexpr auto signBit = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t infinity = 0x7f800000;
    constexpr std::int32_t quietBit = 0x00400000;
    const auto bits = std::bit_cast<std::int32_t>(value);
    const std::int32_t magnitude = bits & ~signBit;
    const std::int32_t added = magnitude > infinity ? quietBit : 0;
    const std::int32_t dropped = magnitude == infinity ? signBit : 0;
    return std::bit_cast<float>((bits | added) & ~dropped);
}

/// `value` as an element of a real numeric type, or as one part of a complex element.
template <class Real>
std::optional<Real> narrowPart(double value) noexcept {
    if constexpr (std::is_same_v<Real, double>)
        return value;
    else if constexpr (std::is_same_v<Real, float>)
        return narrowToSingle(value);
    else
        return truncateToInteger<Real>(value);
}

/// What is said of a number that an element type cannot hold. Doubles are written with six significant digits.
template <class Real>
std::string cannotBeStored(const std::string& value) {
    return "value (" + value + ") cannot be stored in a variable of type " + std::string(elementRow<Real>.name) + ".";
}
template <class Real>
std::string cannotBeStored(double value) {
    char digits[32]; // written without regard to the process's locale
    const auto end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::general, 6).ptr;
    return cannotBeStored<Real>(std::string(digits, end));
}

} // namespace orvane::python
