// A library of the first release level: no layouts, no direct way to complex elements.
#include "function_table.hpp"

#include <orvane_data_array/boundary.hpp>

void* get_function_ptr(int number) noexcept {
    constexpr int firstNumberOfLaterLevels = 109;
    return number < firstNumberOfLaterLevels ? orvane::data::functionAddress(number) : nullptr;
}
