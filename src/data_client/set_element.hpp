// Writing one complex element through a reference to it.
#pragma once

#include "element_types.hpp"
#include "function_resolver.hpp"
#include "throw_if_error.hpp"

#include <complex>

namespace orvane::data::detail {

/// Stores the value in the element; `type` is the number of the value's kind.
template <class T>
    requires ComplexArrayElement<std::complex<T>>
void setElement(ReferenceImpl* reference, std::complex<T> value, int type) {
    static const auto fcn = resolve<FunctionType::ReferenceSetComplex>();
    T realPart = value.real();
    T imagPart = value.imag();
    throwIfError(fcn(reference, type, &realPart, &imagPart));
}

} // namespace orvane::data::detail
