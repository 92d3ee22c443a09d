// The functions of the boundary that deal with whole arrays. Their contracts stand in
// <orvane_data_array/boundary.hpp>.
#pragma once

#include <orvane_data_array/boundary.hpp>

namespace orvane::data::array_functions {

/// All empty arrays are one, which is never freed.
impl::ArrayImpl* createEmpty() noexcept;
void destroy(impl::ArrayImpl* array) noexcept;
void getDimensions(impl::ArrayImpl* array, unsigned long* numDims, unsigned long** dims) noexcept;
unsigned long getNumberOfElements(impl::ArrayImpl* array) noexcept;
int getType(impl::ArrayImpl* array, int* type) noexcept;
bool unshare(impl::ArrayImpl* array, bool isUnique, impl::ArrayImpl** copy) noexcept;
int typesAreConvertible(int wantedType, int actualType, bool* convertible) noexcept;
int release(impl::ArrayImpl* array, bool isUnique, void** buffer, detail::BufferDeleter* deleter) noexcept;

} // namespace orvane::data::array_functions
