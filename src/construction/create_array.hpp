// The door of the construction pipeline: constructor arguments in, a data array out.
#pragma once

#include <optional>

#include "construction/constructor_arguments.hpp"
#include "data_client/typed_array.hpp"

namespace orvane::python {

/// Makes the array that `arguments` describe, column-major. `isComplex` is not looked at: the caller has chosen `T`
/// by it. Nothing, with a Python error set, on failure; no C++ exception comes out. The new array shares no memory
/// with what it was read from.
///
/// Defined for the eleven element types and the complex forms of the ten numeric ones.
template <class T>
std::optional<data::TypedArray<T>> createArrayFromConstructorArgs(const ConstructorArguments& arguments);

} // namespace orvane::python
