// Copying elements of `single`.
#pragma once

#include <cstddef>

namespace orvane::python {

/// Copies `count` floats without gaps, each as it comes back from a conversion to a Python float: infinities lose their
/// sign and signalling NaNs are quieted. `source` needs no alignment. As fast as a bare copy where the processor has
/// wide vector registers.
void copySinglesThroughDouble(float* target, const std::byte* source, std::size_t count) noexcept;

} // namespace orvane::python
