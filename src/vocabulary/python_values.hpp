// Small helpers that read Python values and raise Python errors.
#pragma once

#include <Python.h>

#include <string>

namespace orvane::python {

/// A value, an error that the caller may raise, or neither (the object was not of the kind asked for). The
/// interpreter's error indicator stays clean: the caller chooses when, and as what, to raise.
template <class T>
struct ValueOrError {
    T value{};
    bool hasValue = false;
    bool hasError = false;
    PyObject* exceptionType = nullptr; ///< borrowed; one of the interpreter's static exception types
    std::string message;

    static ValueOrError ofValue(T value) {
        ValueOrError result;
        result.value = value;
        result.hasValue = true;
        return result;
    }
    static ValueOrError ofError(PyObject* exceptionType, std::string message) {
        ValueOrError result;
        result.hasError = true;
        result.exceptionType = exceptionType;
        result.message = std::move(message);
        return result;
    }
};

template <class Integer>
using LongLongResult = ValueOrError<Integer>;

inline void setError(PyObject* exceptionType, const char* message) {
    PyErr_SetString(exceptionType, message);
}
inline void setError(PyObject* exceptionType, const std::string& message) {
    PyErr_SetString(exceptionType, message.c_str());
}

/// Whether the pending error, if there is one, may give way to this system's own words, where they are the same
/// whatever lay behind. Want of memory, exhausted recursion and what is no `Exception` (the user's interrupt, a wish to
/// leave) may not: they are no fault of what is read.
bool mayReplaceError();
/// Raises in place of the pending error, where that may be.
inline void replaceError(PyObject* exceptionType, const char* message) {
    if (mayReplaceError())
        setError(exceptionType, message);
}

/// Prints the pending error, if there is one, to standard error and clears it. The process goes on, whatever it is.
void printAndClearErrorIfAny();

/// New reference, or null with RuntimeError set.
inline PyObject* makePyObjectFromLong(long value) {
    PyObject* const object = PyLong_FromLong(value);
    if (object == nullptr) [[unlikely]]
        replaceError(PyExc_RuntimeError, "unable to construct Python object from integer.");
    return object;
}

/// Null and `None` count as empty; an empty sequence does not.
inline bool pyObjectIsEmpty(PyObject* object) {
    return object == nullptr || object == Py_None;
}
/// `str` and its subclasses.
inline bool pyObjectIsUnicodeOrString(PyObject* object) {
    return PyUnicode_Check(object) != 0;
}
/// `int` and its subclasses, `bool` among them.
inline bool pyObjectIsLong(PyObject* object) {
    return PyLong_Check(object) != 0;
}

/// The value of a keyword that must be exactly a `bool`. On failure `success` is false, TypeError is set and
/// the returned value means nothing.
bool retrieveBoolKwarg(PyObject* object, const char* name, bool& success);

struct SequenceLength {
    bool isRectangular;
    Py_ssize_t length; ///< -1 with an error set when the length or an item could not be had
};

/// The length of a sequence, and whether its items agree: all sequences of one length, or none a sequence.
/// Looks one level down and no further. Anything that is no sequence has length 1.
SequenceLength getLengthOfPySequence(PyObject* object);

/// Neither value nor error when `object` is no `int`; OverflowError beyond 64 bits.
LongLongResult<long long> getLongLongFromPyObject(PyObject* object);

/// The same for unsigned targets; `typeName` (the users' word) goes into the words for negative values.
LongLongResult<unsigned long long> getUnsignedLongLongFromPyObject(PyObject* object, const char* typeName);

} // namespace orvane::python
