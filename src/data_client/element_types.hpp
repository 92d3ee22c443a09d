// The element kinds as clients name them, and the two memory layouts.
#pragma once

#include <orvane_data_array/boundary.hpp>
#include <orvane_data_array/element_kinds.hpp>

#include <complex>
#include <cstdint>

namespace orvane::data {

using orvane::ArrayElement;
using orvane::ComplexArrayElement;

/// The element kind of an array. Number 2 and numbers above 22 can be met on foreign arrays and have no
/// name here.
enum class ArrayType : std::int32_t {
    Logical = arrayTypeNumber<bool>,
    Character = arrayTypeNumber<char16_t>,
    Double = arrayTypeNumber<double>,
    Single = arrayTypeNumber<float>,
    Int8 = arrayTypeNumber<std::int8_t>,
    UInt8 = arrayTypeNumber<std::uint8_t>,
    Int16 = arrayTypeNumber<std::int16_t>,
    UInt16 = arrayTypeNumber<std::uint16_t>,
    Int32 = arrayTypeNumber<std::int32_t>,
    UInt32 = arrayTypeNumber<std::uint32_t>,
    Int64 = arrayTypeNumber<std::int64_t>,
    UInt64 = arrayTypeNumber<std::uint64_t>,
    ComplexDouble = arrayTypeNumber<std::complex<double>>,
    ComplexSingle = arrayTypeNumber<std::complex<float>>,
    ComplexInt8 = arrayTypeNumber<std::complex<std::int8_t>>,
    ComplexUInt8 = arrayTypeNumber<std::complex<std::uint8_t>>,
    ComplexInt16 = arrayTypeNumber<std::complex<std::int16_t>>,
    ComplexUInt16 = arrayTypeNumber<std::complex<std::uint16_t>>,
    ComplexInt32 = arrayTypeNumber<std::complex<std::int32_t>>,
    ComplexUInt32 = arrayTypeNumber<std::complex<std::uint32_t>>,
    ComplexInt64 = arrayTypeNumber<std::complex<std::int64_t>>,
    ComplexUInt64 = arrayTypeNumber<std::complex<std::uint64_t>>,
};

/// The kind of a C++ element type.
template <ArrayElement T>
inline constexpr ArrayType arrayTypeOf{arrayTypeNumber<T>};

} // namespace orvane::data
