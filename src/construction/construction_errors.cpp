#include "construction/construction_errors.hpp"

#include <limits>

namespace orvane::python {

bool raiseUnableToAllocate(std::optional<std::size_t> count, std::string_view typeName) {
    // No C++ memory is asked for here.
    PyErr_Format(PyExc_MemoryError, "unable to allocate memory for array with number of elements = %zu; type = %s",
                 count.value_or(std::numeric_limits<std::size_t>::max()), typeName.data());
    return false;
}

} // namespace orvane::python
