// The names and numbers by which Python, the buffer protocol and the data-array library speak of element types.
//
// Three numberings exist and must be kept apart:
//  - `SupportedArrayEnum`, 0 to 10: the row of the element table; says nothing of complexity;
//  - `orvane::data::ArrayType`: the data-array library's, in which real and complex are different types;
//  - the type code of a foreign buffer: `SupportedArrayEnum` plus 3. Logical's code, 13, is also the
//    `ArrayType` of complex double, so a type code may never be passed where an `ArrayType` is expected.
#pragma once

#include <Python.h>

#include <cstdint>
#include <optional>

#include <orvane_data_array/element_table.hpp>

#include "data_client/element_types.hpp"
#include "vocabulary/export.hpp"

namespace orvane::python {

enum SupportedArrayEnum : std::int8_t {
    SAE_double,
    SAE_float,
    SAE_int8_t,
    SAE_uint8_t,
    SAE_int16_t,
    SAE_uint16_t,
    SAE_int32_t,
    SAE_uint32_t,
    SAE_int64_t,
    SAE_uint64_t,
    SAE_bool,
};

/// The enumeration's value for an element type or its complex form.
template <class T>
inline constexpr SupportedArrayEnum supportedArrayEnum = static_cast<SupportedArrayEnum>(elementIndex<T>);
static_assert(supportedArrayEnum<bool> == SAE_bool && supportedArrayEnum<float> == SAE_float);

/// What a type code adds to a `SupportedArrayEnum`.
inline constexpr int typeCodeOffset = 3;

extern "C" {
/// The format characters by `SupportedArrayEnum`: "dfbBhHiIqQ?".
extern ORVANE_EXPORT char TypeAsChar[elementTypeCount + 1];
/// The eleven array types by `SupportedArrayEnum`.
extern ORVANE_EXPORT PyTypeObject* TypeObjectPointers[elementTypeCount];
}

struct TypeAndComplexity {
    bool supported;
    SupportedArrayEnum supportedArrayEnum;
    bool isComplex;
};

/// Never fails: unsupported numbers, those out of range included, give {false, SAE_bool, true}.
TypeAndComplexity getTypeAndComplexityFromArrayType(data::ArrayType type) noexcept;

/// The PEP 3118 format that buffers of an element type carry ("d", "Zd", ...), or null for types that have none. A
/// leading 'Z' marks complex elements; 64-bit integers are always "q" and "Q". Static storage.
const char* classid2format(data::ArrayType type) noexcept;

/// The type code of a format character, or nothing with RuntimeError set.
std::optional<int> getArrayTypeEnumFromChar(char format);

/// Whether data of format character `input` may be read as format `expected` although the characters differ:
/// '?' and 'B' for each other, and the platform's 'l' and 'L' as the fixed-size type of `itemSize` bytes.
bool areDifferentButCompatible(char input, char expected, Py_ssize_t itemSize) noexcept;

/// 'l' and 'L' resolved to the fixed-size character of `itemSize` bytes; any other character as it is.
char resolvePlatformLong(char format, Py_ssize_t itemSize) noexcept;

} // namespace orvane::python
