// The functions of the boundary that reach the elements of an array. Their contracts stand in
// <orvane_data_array/boundary.hpp>.
#pragma once

#include <orvane_data_array/boundary.hpp>

namespace orvane::data::element_functions {

detail::IteratorImpl* begin(impl::ArrayImpl* array, bool forWriting) noexcept;
detail::IteratorImpl* end(impl::ArrayImpl* array, bool forWriting) noexcept;

void* getFixedElements(impl::ArrayImpl* array) noexcept;
detail::IteratorImpl* cloneIterator(detail::IteratorImpl* iterator) noexcept;
void destroyIterator(detail::IteratorImpl* iterator) noexcept;
/// Serves every element kind; the address of a complex element is that of its pair.
void getElement(detail::IteratorImpl* iterator, void** element) noexcept;
/// Gives null for want of memory.
void getReferenceAt(detail::IteratorImpl* iterator, detail::ReferenceImpl** out) noexcept;

int getReference(impl::ArrayImpl* array, unsigned long index, detail::ReferenceImpl** out) noexcept;
void destroyReference(detail::ReferenceImpl* reference) noexcept;
int getParts(detail::ReferenceImpl* reference, void** realPart, void** imagPart) noexcept;
int setComplex(detail::ReferenceImpl* reference, int type, void* realPart, void* imagPart) noexcept;

} // namespace orvane::data::element_functions
