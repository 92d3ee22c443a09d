// A library that cannot tell the element kind of an array.
#include "function_table.hpp"

#include <orvane_data_array/boundary.hpp>

void* get_function_ptr(int number) noexcept {
    constexpr auto missing = static_cast<int>(orvane::data::detail::FunctionType::ArrayGetType);
    return number != missing ? orvane::data::functionAddress(number) : nullptr;
}
