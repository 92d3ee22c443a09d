// Numbers as Python's repr() writes them.
#pragma once

#include <complex>
#include <string>
#include <type_traits>

#include <charconv>

#include <orvane_data_array/element_table.hpp>

namespace orvane::python {

/// Appends repr() of a Python float: the shortest digits that read back as the same number, in the form of
/// the interpreter's float repr ("1.0", "1e-05", "nan").
void appendFloat(std::string& text, double value);

/// Appends repr() of a Python complex: "(1+2j)", or "2j" when the real part is plus zero.
void appendComplex(std::string& text, double real, double imaginary);

/// Appends repr() of the Python number that an element becomes.
template <class T>
void appendNumber(std::string& text, const T& element) {
    if constexpr (isComplexElement<T>) {
        appendComplex(text, static_cast<double>(element.real()), static_cast<double>(element.imag()));
    } else if constexpr (std::is_same_v<T, bool>) {
        text += element ? "True" : "False";
    } else if constexpr (std::is_floating_point_v<T>) {
        appendFloat(text, static_cast<double>(element));
    } else {
        char digits[24];
        const auto end = std::to_chars(digits, digits + sizeof digits, element).ptr;
        text.append(digits, end);
    }
}

} // namespace orvane::python
