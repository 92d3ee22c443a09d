#include "element_functions.hpp"

#include "array_impl.hpp"

#include <cstring>
#include <memory>
#include <new>

namespace orvane::data::element_functions {
namespace {

int number(Status status) noexcept {
    return static_cast<int>(status);
}

} // namespace

detail::IteratorImpl* begin(impl::ArrayImpl* array, bool) noexcept {
    return array != nullptr ? array->begin() : nullptr;
}

detail::IteratorImpl* end(impl::ArrayImpl* array, bool) noexcept {
    return array != nullptr ? array->end() : nullptr;
}

void* getFixedElements(impl::ArrayImpl* array) noexcept {
    return array != nullptr ? array->data() : nullptr;
}

detail::IteratorImpl* cloneIterator(detail::IteratorImpl* iterator) noexcept {
    return iterator;
}

void destroyIterator(detail::IteratorImpl*) noexcept {}

void getElement(detail::IteratorImpl* iterator, void** element) noexcept {
    if (element != nullptr) {
        *element = iterator != nullptr ? iterator->element() : nullptr;
    }
}

void getReferenceAt(detail::IteratorImpl* iterator, detail::ReferenceImpl** out) noexcept {
    if (out != nullptr) {
        *out = iterator != nullptr ? new (std::nothrow)
                                         detail::ReferenceImpl(iterator->arrayType(), iterator->element())
                                   : nullptr;
    }
}

int getReference(impl::ArrayImpl* array, unsigned long index, detail::ReferenceImpl** out) noexcept {
    if (array == nullptr || out == nullptr) {
        return number(Status::SystemError);
    }
    if (array->numElements() == 0) {
        return number(Status::EmptyArray);
    }
    if (index >= array->numElements()) {
        return number(Status::InvalidIndex);
    }
    std::byte* const element = array->data() + index * elementSize(array->arrayType());
    auto* const reference = new (std::nothrow) detail::ReferenceImpl(array->arrayType(), element);
    if (reference == nullptr) {
        return number(Status::OutOfMemory);
    }
    *out = reference;
    return number(Status::Success);
}

void destroyReference(detail::ReferenceImpl* reference) noexcept {
    const std::unique_ptr<detail::ReferenceImpl> owner(reference);
}

int getParts(detail::ReferenceImpl* reference, void** realPart, void** imagPart) noexcept {
    if (reference == nullptr || realPart == nullptr || imagPart == nullptr) {
        return number(Status::SystemError);
    }
    if (!isComplexKind(reference->arrayType())) {
        return number(Status::Unsupported);
    }
    *realPart = reference->realPart();
    *imagPart = reference->imagPart();
    return number(Status::Success);
}

int setComplex(detail::ReferenceImpl* reference, int type, void* realPart, void* imagPart) noexcept {
    if (reference == nullptr || realPart == nullptr || imagPart == nullptr) {
        return number(Status::SystemError);
    }
    if (!isComplexKind(reference->arrayType())) {
        return number(Status::Unsupported);
    }
    if (type != reference->arrayType()) {
        return number(Status::TypeMismatch);
    }
    std::memcpy(reference->realPart(), realPart, reference->partSize());
    std::memcpy(reference->imagPart(), imagPart, reference->partSize());
    return number(Status::Success);
}

} // namespace orvane::data::element_functions
