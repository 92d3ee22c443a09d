#include "construction/construction_errors.hpp"

#include <limits>
#include <string>

#include "module/vocabulary/python_values.hpp"

namespace orvane::python {

bool raiseUnableToAllocate(std::optional<std::size_t> count, std::string_view typeName) {
    const std::size_t written = count.value_or(std::numeric_limits<std::size_t>::max());
    setError(PyExc_MemoryError, "unable to allocate memory for array with number of elements = " +
                                    std::to_string(written) + "; type = " + std::string(typeName));
    return false;
}

} // namespace orvane::python
