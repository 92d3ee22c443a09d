#include "elements/conversion.hpp"

#include <string>

namespace orvane::python {

namespace {

template <class Real>
std::string typeName() {
    return std::string(elementRow<Real>.name);
}

/// Whether a number beyond the type becomes infinity rather than a refusal.
template <class Real>
constexpr bool overflowIsInfinity = std::is_same_v<Real, float>;

template <class Real>
ElementResult<Real> refuseFloat() {
    return ElementResult<Real>::ofError(PyExc_TypeError,
                                        "orvane." + typeName<Real>() + " does not accept floating-point values.");
}

/// What a real type says of a value that it cannot take, whatever that is.
template <class Real>
ElementResult<Real> refuse(PyObject* value) {
    const auto typeError = [](std::string message) {
        return ElementResult<Real>::ofError(PyExc_TypeError, std::move(message));
    };
    if (PyComplex_Check(value))
        return typeError("orvane." + typeName<Real>() +
                         " does not accept complex values if 'is_complex' is not set to 'True'.");
    if (pyObjectIsUnicodeOrString(value))
        return typeError("value is not numeric.");
    if (PySequence_Check(value))
        return typeError("sequence passed when scalar was expected.");
    if (value == Py_None)
        return typeError("value must not be 'None'.");
    return typeError("type does not match.");
}

/// `value`, an `int`, as a real element or as the real part of a complex one.
template <class Real>
ElementResult<Real> convertInteger(PyObject* value) {
    using Result = ElementResult<Real>;
    const auto narrow = [](auto number) {
        if (!number.hasValue) {
            if constexpr (overflowIsInfinity<Real>)
                return Result::ofValue(std::numeric_limits<Real>::infinity());
            return Result::ofError(number.exceptionType, std::move(number.message));
        }
        if constexpr (std::is_integral_v<Real> && !std::is_same_v<Real, bool>) {
            if (!std::in_range<Real>(number.value))
                return Result::ofError(PyExc_OverflowError, cannotBeStored<Real>(std::to_string(number.value)));
        }
        return Result::ofValue(static_cast<Real>(number.value));
    };
    if constexpr (std::is_unsigned_v<Real> && !std::is_same_v<Real, bool>)
        return narrow(getUnsignedLongLongFromPyObject(value, elementRow<Real>.name.data()));
    else
        return narrow(getLongLongFromPyObject(value));
}

/// `value` as one part of a complex element.
template <class Real>
ElementResult<Real> convertPart(double value) {
    if (const auto part = narrowPart<Real>(value))
        return ElementResult<Real>::ofValue(*part);
    return ElementResult<Real>::ofError(PyExc_OverflowError, cannotBeStored<Real>(value));
}

template <class Real>
ElementResult<Real> convertReal(PyObject* value) {
    if (pyObjectIsLong(value))
        return convertInteger<Real>(value);
    if (PyFloat_Check(value)) {
        if constexpr (std::is_floating_point_v<Real>)
            return ElementResult<Real>::ofValue(*narrowPart<Real>(PyFloat_AS_DOUBLE(value)));
        else
            return refuseFloat<Real>();
    }
    return refuse<Real>(value);
}

ElementResult<bool> convertLogical(PyObject* value, bool isConstruction) {
    using Result = ElementResult<bool>;
    if (isConstruction && PyFloat_Check(value))
        return Result::ofValue(PyFloat_AS_DOUBLE(value) != 0.0);
    if (isConstruction && PyComplex_Check(value)) {
        const Py_complex number = reinterpret_cast<PyComplexObject*>(value)->cval;
        return Result::ofValue(number.real != 0.0 || number.imag != 0.0);
    }
    return convertReal<bool>(value);
}

template <class Real>
ElementResult<std::complex<Real>> convertComplex(PyObject* value) {
    using Result = ElementResult<std::complex<Real>>;
    ElementResult<Real> real = ElementResult<Real>::ofValue(Real{});
    ElementResult<Real> imaginary = ElementResult<Real>::ofValue(Real{});
    if (PyComplex_Check(value)) {
        const Py_complex number = reinterpret_cast<PyComplexObject*>(value)->cval;
        real = convertPart<Real>(number.real);
        imaginary = convertPart<Real>(number.imag);
    } else if (PyFloat_Check(value)) {
        real = convertPart<Real>(PyFloat_AS_DOUBLE(value));
    } else if (pyObjectIsLong(value)) {
        real = convertInteger<Real>(value);
    }
    // Whatever is no number at all is zero, and no fault.

    for (ElementResult<Real>* part : {&real, &imaginary}) {
        if (part->hasError)
            return Result::ofError(part->exceptionType, std::move(part->message));
    }
    return Result::ofValue({real.value, imaginary.value});
}

} // namespace

template <class T>
ElementResult<T> convertToElement(PyObject* value, [[maybe_unused]] bool isConstruction) {
    if constexpr (isComplexElement<T>)
        return convertComplex<RealElement<T>>(value);
    else if constexpr (std::is_same_v<T, bool>)
        return convertLogical(value, isConstruction);
    else
        return convertReal<T>(value);
}

template ElementResult<double> convertToElement(PyObject*, bool);
template ElementResult<float> convertToElement(PyObject*, bool);
template ElementResult<std::int8_t> convertToElement(PyObject*, bool);
template ElementResult<std::uint8_t> convertToElement(PyObject*, bool);
template ElementResult<std::int16_t> convertToElement(PyObject*, bool);
template ElementResult<std::uint16_t> convertToElement(PyObject*, bool);
template ElementResult<std::int32_t> convertToElement(PyObject*, bool);
template ElementResult<std::uint32_t> convertToElement(PyObject*, bool);
template ElementResult<std::int64_t> convertToElement(PyObject*, bool);
template ElementResult<std::uint64_t> convertToElement(PyObject*, bool);
template ElementResult<bool> convertToElement(PyObject*, bool);
template ElementResult<std::complex<double>> convertToElement(PyObject*, bool);
template ElementResult<std::complex<float>> convertToElement(PyObject*, bool);
template ElementResult<std::complex<std::int8_t>> convertToElement(PyObject*, bool);
template ElementResult<std::complex<std::uint8_t>> convertToElement(PyObject*, bool);
template ElementResult<std::complex<std::int16_t>> convertToElement(PyObject*, bool);
template ElementResult<std::complex<std::uint16_t>> convertToElement(PyObject*, bool);
template ElementResult<std::complex<std::int32_t>> convertToElement(PyObject*, bool);
template ElementResult<std::complex<std::uint32_t>> convertToElement(PyObject*, bool);
template ElementResult<std::complex<std::int64_t>> convertToElement(PyObject*, bool);
template ElementResult<std::complex<std::uint64_t>> convertToElement(PyObject*, bool);

} // namespace orvane::python
