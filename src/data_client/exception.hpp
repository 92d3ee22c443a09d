// The exceptions by which the client classes report what the data-array library refuses. There is one
// class per kind of fault and no common base beside the two public ones.
#pragma once

#include <exception>
#include <string>
#include <utility>

namespace orvane {

/// The interface of everything that this layer throws.
class Exception {
public:
    virtual ~Exception() = default;
    virtual const char* what() const noexcept = 0;

protected:
    Exception() = default;
    Exception(const Exception&) = default;
    Exception& operator=(const Exception&) = default;
};

namespace data {

/// The kinds of fault. The numbers are those of the library's statuses; 4, 48, 49 and 50 have no kind of
/// their own and count as `SystemError`.
enum class ExceptionType : int {
    InvalidArrayIndex = 1,
    StringIndexMustBeLast = 2,
    StringIndexNotValid = 3,
    NotEnoughIndices = 5,
    TooManyIndices = 6,
    CanOnlyUseOneStringIndex = 7,
    TypeMismatch = 8,
    InvalidArrayType = 9,
    InvalidFieldName = 10,
    FailedToLoadData = 11,
    FailedToResolveSymbol = 12,
    MustSpecifyClassName = 13,
    WrongNumberOfEnums = 14,
    NonAsciiCharacterInInput = 15,
    CannotConvertToString = 16,
    SparseArrayDimensions = 17,
    DuplicateFieldName = 18,
    OutOfMemory = 19,
    SystemError = 20,
    IndexIntoEmptyArray = 21,
    FeatureNotSupported = 22,
    MemoryLayoutMismatch = 23,
    MemoryLayoutMismatchOfInput = 24,
    MemoryLayoutMismatchOfOutput = 25,
    NumberOfElementsExceedsMaximum = 26,
    ObjectArrayNotHomogeneous = 27,
    LibraryMessage = 28,
    LibraryMessageWithDetails = 29,
    ObjectNotFound = 30,
    WrongVectorSizeForStruct = 31,
    PropertyAlreadyExists = 32,
    ClassConstructorFailed = 33,
    HandleObjectNotFound = 34,
    ObjectArrayNotHeterogeneous = 35,
    InvalidObjectType = 36,
    ClassNotFound = 37,
    RecursionLimitExceeded = 38,
    PropertyNotFound = 39,
    InvalidPropertyValue = 40,
    FailedToSerializeObject = 41,
    InvalidEnumeration = 42,
    MissingString = 43,
    UnsupportedOperation = 44,
    ObjectSerializationFailed = 45,
    JavaNotSupported = 46,
    InvalidFieldIdentifier = 47,
    ContainerElementInOptimizedArray = 51,
    InputMustBeUtf8 = 52,
    InvalidUtf16Conversion = 53,
};

namespace detail {

/// Whether a kind of fault bears the number.
constexpr bool isExceptionType(int number) noexcept {
    return (number >= 1 && number <= 3) || (number >= 5 && number <= 47) || (number >= 51 && number <= 53);
}

/// The exception class of one kind of fault. Carries its message and nothing else.
template <class Interface, ExceptionType Type>
    requires(isExceptionType(static_cast<int>(Type)))
class ArrayException : public Interface, public std::exception {
public:
    explicit ArrayException(std::string message) : m_message(std::move(message)) {}

    const char* what() const noexcept override { return m_message.c_str(); }

private:
    std::string m_message;
};

} // namespace detail
} // namespace data
} // namespace orvane
