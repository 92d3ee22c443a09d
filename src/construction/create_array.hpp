// The door of the construction pipeline: constructor arguments in, a data array out.
#pragma once

#include <optional>

#include "construction/constructor_arguments.hpp"
#include "construction/constructor_parser.hpp"
#include "data_client/typed_array.hpp"

namespace orvane::python {

/// Makes the array that `arguments` describe, column-major. `isComplex` is not looked at: the caller has chosen `T`
/// by it. Nothing, with a Python error set, on failure; no C++ exception comes out. The new array shares no memory
/// with what it was read from.
/// `T` is one of the eleven element types or a complex form of the ten numeric ones.
template <class T>
std::optional<data::TypedArray<T>> createArrayFromConstructorArgs(const ConstructorArguments& arguments) {
    if (auto array = FinalConstructorParser<T>::fromPlainNumber(arguments))
        return array;
    return FinalConstructorParser<T>().processConstructorArgsAndKwargs(arguments);
}

} // namespace orvane::python
