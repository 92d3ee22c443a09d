// The statuses that the data-array library itself gives.
#pragma once

namespace orvane::data {

enum class Status : int {
    Success = 0,
    InvalidIndex = 1,      ///< an element index at or beyond the number of elements
    TypeMismatch = 8,      ///< a value of another type than the element that it is meant for
    ArrayTypeMismatch = 9, ///< a number that no element kind bears
    OutOfMemory = 19,
    SystemError = 20,     ///< a null argument where an object is needed
    EmptyArray = 21,      ///< an element index into an array that has no elements
    Unsupported = 22,     ///< an unknown memory layout, or complex access to a real element
    TooManyElements = 26, ///< a number of elements or bytes beyond a signed 64-bit integer
};

} // namespace orvane::data
