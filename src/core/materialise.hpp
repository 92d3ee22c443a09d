// Turning what a view selects into a data array of its own.
#pragma once

#include <optional>

#include "core/core_array.hpp"
#include "data_client/array.hpp"

namespace orvane::python {

/// A new data array with the selected elements, in the selection's nesting; nothing with an error set on failure.
///
/// A selection with one free dimension becomes a row, and an empty one takes the extents of the whole array with
/// 0 in the first place. Elements come out as if each had been made a Python number and read back: in `single`,
/// minus infinity becomes plus infinity; the parts of complex 64-bit integers are rounded to doubles and
/// refused with OverflowError at the type's limits.
std::optional<data::Array> materialise(const OCppPyArray& view);

} // namespace orvane::python
