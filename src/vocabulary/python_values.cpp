#include "vocabulary/python_values.hpp"

#include "vocabulary/caller_code.hpp"
#include "vocabulary/py_ref.hpp"

namespace orvane::python {

namespace {

constexpr const char* beyondSixtyFourBits = "Python int too large to convert to C long long";

bool conversionFailed(bool gaveErrorValue) {
    if (!gaveErrorValue || PyErr_Occurred() == nullptr)
        return false;
    PyErr_Clear();
    return true;
}

/// Item `i`, or null with RuntimeError set in place of the sequence's own error.
PyRef siblingAt(PyObject* sequence, Py_ssize_t i) {
    PyRef item = PyRef::steal(PySequence_GetItem(sequence, i));
    if (!item)
        replaceError(PyExc_RuntimeError, "null data pointer.");
    return item;
}

} // namespace

bool mayReplaceError() {
    const PyObject* const pending = PyErr_Occurred();
    return pending == nullptr ||
           (PyErr_ExceptionMatches(PyExc_Exception) != 0 && PyErr_ExceptionMatches(PyExc_MemoryError) == 0 &&
            PyErr_ExceptionMatches(PyExc_RecursionError) == 0);
}

void printAndClearErrorIfAny() {
    if (PyErr_Occurred() == nullptr)
        return;
    if (PyErr_ExceptionMatches(PyExc_SystemExit) == 0)
        return PyErr_Print();
    // For this one `PyErr_Print` would end the process.
    PyObject* type = nullptr;
    PyObject* value = nullptr;
    PyObject* traceback = nullptr;
    PyErr_Fetch(&type, &value, &traceback);
    PyErr_NormalizeException(&type, &value, &traceback);
    PyErr_Display(type, value, traceback);
    Py_XDECREF(type);
    Py_XDECREF(value);
    Py_XDECREF(traceback);
}

bool retrieveBoolKwarg(PyObject* object, const char* name, bool& success) {
    success = object != nullptr && Py_IS_TYPE(object, &PyBool_Type);
    if (success)
        return object == Py_True;
    PyErr_Format(PyExc_TypeError, "value passed to '%s' %s.", name, object == nullptr ? "is null" : "must be a bool");
    return true;
}

SequenceLength getLengthOfPySequence(PyObject* object) {
    if (!PySequence_Check(object))
        return {true, 1};
    const Py_ssize_t length = PySequence_Size(object);
    if (length < 2)
        return {true, length};

    const PyRef first = siblingAt(object, 0);
    if (!first)
        return {true, -1};
    const bool firstIsSequence = PySequence_Check(first.get()) != 0;
    const Py_ssize_t firstLength = firstIsSequence ? PySequence_Size(first.get()) : 0;
    if (firstLength < 0)
        return {true, -1};

    FetchedItemsWatch watch;
    for (Py_ssize_t i = 1; i < length; ++i) {
        const PyRef item = siblingAt(object, i);
        if (!item || !watch.pass())
            return {true, -1};
        if ((PySequence_Check(item.get()) != 0) != firstIsSequence)
            return {false, length};
        if (firstIsSequence) {
            const Py_ssize_t itemLength = PySequence_Size(item.get());
            if (itemLength < 0)
                return {true, -1};
            if (itemLength != firstLength)
                return {false, length};
        }
    }
    return {true, length};
}

LongLongResult<long long> getLongLongFromPyObject(PyObject* object) {
    using Result = LongLongResult<long long>;
    if (!pyObjectIsLong(object))
        return {};
    const long long value = PyLong_AsLongLong(object);
    if (conversionFailed(value == -1))
        return Result::ofError(PyExc_OverflowError, beyondSixtyFourBits);
    return Result::ofValue(value);
}

LongLongResult<unsigned long long> getUnsignedLongLongFromPyObject(PyObject* object, const char* typeName) {
    using Result = LongLongResult<unsigned long long>;
    if (!pyObjectIsLong(object))
        return {};
    const unsigned long long value = PyLong_AsUnsignedLongLong(object);
    if (!conversionFailed(value == static_cast<unsigned long long>(-1)))
        return Result::ofValue(value);
    const long long negative = PyLong_AsLongLong(object);
    if (conversionFailed(negative == -1))
        return Result::ofError(PyExc_OverflowError, beyondSixtyFourBits);
    return Result::ofError(PyExc_OverflowError, "value (" + std::to_string(negative) +
                                                    ") cannot be stored in a variable of type " + typeName + ".");
}

} // namespace orvane::python
