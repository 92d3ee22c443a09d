// Numbers in memory whose type a format character tells, and how they become elements.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "elements/conversion.hpp"

namespace orvane::python {

/// A number as Python would see it, without the Python object.
struct PlainNumber {
    enum class Kind {
        None,    ///< no number at all
        Integer, ///< an `int` that `integer` holds
        Natural, ///< a greater `int`, in `natural`
        Float,   ///< a `float`
        Complex, ///< a `complex`
    };
    Kind kind = Kind::None;
    long long integer = 0;
    std::uint64_t natural = 0;
    double real = 0.0;
    double imaginary = 0.0;

    /// Item `i` of a block without gaps. `format` is a typecode of `array.array` or '?'; those of characters give no
    /// number. The block needs no alignment.
    static PlainNumber itemAt(const void* block, char format, std::size_t i) noexcept;
    /// The complex number whose parts are the first two items of a block.
    static PlainNumber pairAt(const void* block, char format) noexcept;
};

/// Converts a number as `convertToElement` would. False where that would refuse it.
template <class T, bool isConstruction = true>
bool storeNumber(const PlainNumber& number, T& element) noexcept {
    using Kind = PlainNumber::Kind;
    RealElement<T> part{};
    switch (number.kind) {
    case Kind::None:
        return false;
    case Kind::Integer:
        if (!storeInteger(number.integer, part))
            return false;
        break;
    case Kind::Natural:
        if constexpr (!std::is_same_v<RealElement<T>, std::uint64_t>)
            return false;
        else
            part = number.natural;
        break;
    case Kind::Float:
        return storeFloat<T, isConstruction>(number.real, element);
    case Kind::Complex:
        return storeComplex<T, isConstruction>(number.real, number.imaginary, element);
    }
    element = T(part);
    return true;
}

} // namespace orvane::python
