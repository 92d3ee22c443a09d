// Reading Python integers without a function call where that is possible.
#pragma once

#include <Python.h>

#include <cstdint>
#include <limits>

#if PY_VERSION_HEX < 0x030B0000
#include <longintrepr.h>
#endif

namespace orvane::python {

/// The value of an `int` or of an instance of a subclass. False beyond 64 bits, with no error set.
inline bool readInteger(PyObject* integer, long long& value) noexcept {
    auto* const digits = reinterpret_cast<PyLongObject*>(integer);
#if PY_VERSION_HEX >= 0x030C0000
    if (PyUnstable_Long_IsCompact(digits)) {
        value = PyUnstable_Long_CompactValue(digits);
        return true;
    }
#else
    // The size counts the digits of the magnitude and bears the sign; most integers have one digit. Zero has none, and
    // there need be no room for one.
    const Py_ssize_t signedSize = Py_SIZE(integer);
    if (signedSize == 0) {
        value = 0;
        return true;
    }
    if (signedSize >= -1 && signedSize <= 1) {
        value = static_cast<long long>(signedSize) * static_cast<long long>(digits->ob_digit[0]);
        return true;
    }
#endif
    int overflow = 0;
    value = PyLong_AsLongLongAndOverflow(integer, &overflow);
    return overflow == 0;
}

/// The same for values that only an unsigned number can hold.
inline bool readUnsignedInteger(PyObject* integer, std::uint64_t& value) {
#if PY_VERSION_HEX < 0x030C0000
    // No error is set, not even for a moment: where another is being handled, its exception would be made at once, and
    // making it may run a collection, and code of the caller's with it.
    value = PyLong_AsUnsignedLongLongMask(integer);
    return _PyLong_Sign(integer) >= 0 && _PyLong_NumBits(integer) <= std::numeric_limits<std::uint64_t>::digits;
#else
    value = PyLong_AsUnsignedLongLong(integer);
    if (value != std::numeric_limits<std::uint64_t>::max() || PyErr_Occurred() == nullptr)
        return true;
    PyErr_Clear();
    return false;
#endif
}

} // namespace orvane::python
