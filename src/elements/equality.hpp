// Whether two elements are equal as the Python numbers that they become.
#pragma once

#include <cmath>
#include <complex>
#include <type_traits>

#include <orvane_data_array/element_table.hpp>

namespace orvane::python {

/// Exact comparison of an integer with a double, without rounding the integer.
template <class Integer>
bool equalsExactly(Integer integer, double number) noexcept {
    // The range is closed below and open above: both limits are exact as doubles, and NaN is in no range.
    constexpr double low = std::is_signed_v<Integer> ? -9223372036854775808.0 : 0.0;
    constexpr double high = std::is_signed_v<Integer> ? 9223372036854775808.0 : 18446744073709551616.0;
    using Wide = std::conditional_t<std::is_signed_v<Integer>, long long, unsigned long long>;
    return number >= low && number < high && std::trunc(number) == number &&
           static_cast<Wide>(number) == static_cast<Wide>(integer);
}

/// The elements are of one type, except that either may be complex.
template <class A, class B>
bool elementsEqual(const A& a, const B& b) noexcept {
    if constexpr (isComplexElement<A> && isComplexElement<B>)
        return static_cast<double>(a.real()) == static_cast<double>(b.real()) &&
               static_cast<double>(a.imag()) == static_cast<double>(b.imag());
    else if constexpr (isComplexElement<A>)
        return elementsEqual(b, a);
    else if constexpr (!isComplexElement<B>)
        return a == b;
    else if constexpr (std::is_integral_v<A>)
        return b.imag() == 0 && equalsExactly(a, static_cast<double>(b.real()));
    else
        return b.imag() == 0 && a == b.real();
}

} // namespace orvane::python
