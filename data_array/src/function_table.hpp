// From function numbers to functions.
#pragma once

namespace orvane::data {

/// The address of the function that bears the number, or null where none does.
void* functionAddress(int number) noexcept;

} // namespace orvane::data
