// From the statuses of the data-array library to exceptions.
#pragma once

#include "exception.hpp"

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace orvane::data::detail {

/// What becomes of one status.
struct StatusRow {
    ExceptionType exceptionType;
    std::string_view message;
    bool speaksForItself = true; ///< false: the caller's message is thrown instead
};

/// The row of status n stands at position n; position 0 (success) is never thrown.
inline constexpr std::array<StatusRow, 54> statusTable = [] {
    using enum ExceptionType;
    constexpr std::string_view systemError = "System Error.";
    constexpr std::string_view layoutMismatch = "Memory layout mismatch.";
    constexpr std::string_view objectArrayNotCreated =
        "ObjectArray not created. Elements must belong to the same class, or to classes that are part of a "
        "heterogeneous hierarchy.";
    return std::array<StatusRow, 54>{{
        {SystemError, ""},
        {InvalidArrayIndex, "Array index is invalid."},
        {StringIndexMustBeLast, "String index must be last."},
        {StringIndexNotValid, "String index not valid for this array."},
        {SystemError, systemError},
        {NotEnoughIndices, "Not enough indices provided."},
        {TooManyIndices, "Too many indices provided."},
        {CanOnlyUseOneStringIndex, "Can only provide one string index."},
        {TypeMismatch, "Data type mismatch."},
        {InvalidArrayType, "Array type mismatch."},
        {InvalidFieldName, "Field does not exist in this struct."},
        {FailedToLoadData, "Failed to load data."},
        {FailedToResolveSymbol, "Failed to resolve symbol."},
        {MustSpecifyClassName, "Must specify a class name."},
        {WrongNumberOfEnums, "Wrong number of enums supplied."},
        {NonAsciiCharacterInInput, "Input data can only contain ASCII characters."},
        {CannotConvertToString, "Can't create a std::string from this data."},
        {SparseArrayDimensions, "Sparse Array can only have two dimensions."},
        {DuplicateFieldName, "Duplicate field names not allowed."},
        {OutOfMemory, "Not enough memory available to support the request."},
        {SystemError, systemError},
        {IndexIntoEmptyArray, "Can't index into an empty array."},
        {FeatureNotSupported, "The specified feature is not supported."},
        {MemoryLayoutMismatch, layoutMismatch},
        {MemoryLayoutMismatchOfInput, layoutMismatch},
        {MemoryLayoutMismatchOfOutput, layoutMismatch},
        {NumberOfElementsExceedsMaximum, "Number of elements exceeds max."},
        {ObjectArrayNotHomogeneous, objectArrayNotCreated},
        {LibraryMessage, "", false},
        {LibraryMessageWithDetails, "", false},
        {ObjectNotFound, "Object not found."},
        {WrongVectorSizeForStruct, "Vector size is wrong for the struct."},
        {PropertyAlreadyExists, "The property already exists."},
        {ClassConstructorFailed, "Failed to execute class constructor."},
        {HandleObjectNotFound, "Handle Object not found."},
        {ObjectArrayNotHeterogeneous, objectArrayNotCreated},
        {InvalidObjectType, "Invalid object type."},
        {ClassNotFound, "Requested class was not found."},
        {RecursionLimitExceeded, "Recursion limit exceeded."},
        {PropertyNotFound, "Property not found."},
        {InvalidPropertyValue, "Invalid property value."},
        {FailedToSerializeObject, "Failed to serialize object."},
        {InvalidEnumeration, "Invalid enumeration."},
        {MissingString, "Missing string encountered."},
        {UnsupportedOperation, "Unsupported operation."},
        {ObjectSerializationFailed, "Object serialization failed."},
        {JavaNotSupported, "Java not supported."},
        {InvalidFieldIdentifier, "Field name is not a valid ORVANE identifier."},
        {SystemError, systemError},
        {SystemError, systemError},
        {SystemError, systemError},
        {ContainerElementInOptimizedArray,
         "Cannot assign a container array to an element of an array created for optimization "},
        {InputMustBeUtf8, "Input data must contain UTF8 characters."},
        {InvalidUtf16Conversion, "Invalid conversion from UTF-16 input to UTF-8 encoding."},
    }};
}();

/// The status whose row serves for every number outside the table.
inline constexpr std::size_t unknownStatus = 4;

template <ExceptionType Type>
[[noreturn]] void throwException(std::string message) {
    throw ArrayException<Exception, Type>(std::move(message));
}

/// Throws the exception of a status that is not 0.
[[noreturn, gnu::cold]] inline void throwStatus(int status, const std::string& message) {
    using Thrower = void (*)(std::string);
    static constexpr auto throwers = []<std::size_t... I>(std::index_sequence<I...>) {
        return std::array<Thrower, sizeof...(I)>{&throwException<statusTable[I].exceptionType>...};
    }(std::make_index_sequence<statusTable.size()>{});

    // A negative status turns into a number beyond the table.
    const auto number = static_cast<std::size_t>(status);
    const std::size_t row = number < statusTable.size() ? number : unknownStatus;
    throwers[row](statusTable[row].speaksForItself ? std::string(statusTable[row].message) : message);
    std::terminate(); // not reached: every thrower throws, but a pointer cannot say so
}

/// Returns on status 0 and throws the status's exception otherwise. The message is read only for the
/// statuses that have no message of their own (28 and 29).
inline void throwIfError(int status, const std::string& message) {
    if (status != 0) [[unlikely]] {
        throwStatus(status, message);
    }
}

/// The same with an empty message, which every call of the client classes gives.
inline void throwIfError(int status) {
    if (status != 0) [[unlikely]] {
        throwStatus(status, std::string());
    }
}

} // namespace orvane::data::detail
