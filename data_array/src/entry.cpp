// The one symbol that the library exports.
#include "function_table.hpp"

#include <orvane_data_array/boundary.hpp>

void* get_function_ptr(int number) noexcept {
    return orvane::data::functionAddress(number);
}
