// The functions of the boundary that make arrays and buffers. Their contracts stand in
// <orvane_data_array/boundary.hpp>.
#pragma once

#include <orvane_data_array/boundary.hpp>

namespace orvane::data::factory_functions {

int create(impl::ArrayFactoryImpl** out) noexcept;
void destroy(impl::ArrayFactoryImpl* factory) noexcept;
int createBuffer(impl::ArrayFactoryImpl* factory, void** buffer, detail::BufferDeleter* deleter, int type,
                 unsigned long numElements) noexcept;
int createZeroedBuffer(impl::ArrayFactoryImpl* factory, void** buffer, detail::BufferDeleter* deleter, int type,
                       unsigned long numElements) noexcept;
int createArray(impl::ArrayFactoryImpl* factory, int type, unsigned long* dims, unsigned long numDims,
                impl::ArrayImpl** out) noexcept;
int createUnfilledArray(impl::ArrayFactoryImpl* factory, int type, unsigned long* dims, unsigned long numDims,
                        impl::ArrayImpl** out, void** elements) noexcept;
int createScalar(impl::ArrayFactoryImpl* factory, int type, void const* value, impl::ArrayImpl** out) noexcept;
int createArrayFromBuffer(impl::ArrayFactoryImpl* factory, int type, unsigned long* dims, unsigned long numDims,
                          void* buffer, detail::BufferDeleter deleter, impl::ArrayImpl** out, int layout) noexcept;
int createArrayFromColumnMajorBuffer(impl::ArrayFactoryImpl* factory, int type, unsigned long* dims,
                                     unsigned long numDims, void* buffer, detail::BufferDeleter deleter,
                                     impl::ArrayImpl** out) noexcept;

} // namespace orvane::data::factory_functions
