// Elements of a view, put next to each other as they are.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>

#include "core/core_array.hpp"
#include "core/selection.hpp"

namespace orvane::python {

/// A block with a copy of the selected elements, to the bit, in column-major order. `selection` is of `view`, which the
/// caller keeps alive, and lies inside its elements. Nothing with an error set by the handler of a signal. Throws for
/// want of memory.
std::optional<std::shared_ptr<std::byte>> gather(const OCppPyArray& view, const Selection& selection);

} // namespace orvane::python
