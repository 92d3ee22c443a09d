// From the library's iterators to the addresses of elements.
#pragma once

#include "element_types.hpp"
#include "function_resolver.hpp"
#include "reference_holder.hpp"
#include "throw_if_error.hpp"

namespace orvane::data::detail {

struct DestroyIterator {
    void operator()(IteratorImpl* iterator) const {
        if (iterator == nullptr) { // what a library gives that lacks memory
            return;
        }
        static const auto fcn2 = resolve<FunctionType::IteratorDestroy>();
        fcn2(iterator);
    }
};

/// The library's iterator to the first element, or null for want of memory. One for writing is asked for after the
/// unshare step.
inline IteratorImpl* beginOf(impl::ArrayImpl* array, bool forWriting) {
    static const auto fcn3 = find<FunctionType::ArrayBegin>();
    if (fcn3 != nullptr) [[likely]] {
        return fcn3(array, forWriting);
    }
    static const auto fcn4 = resolve<FunctionType::ArrayBeginFallback>();
    return fcn4(array, forWriting);
}

/// Whether the address of a complex element can be refused, also when an iterator for writing has moved the elements.
inline bool complexElementsAreAskedByReference() noexcept {
    static const auto fcn = find<FunctionType::IteratorGetComplexElement>();
    return fcn == nullptr;
}

/// The address of the element at which the library's iterator stands: to be written to when that is an iterator for
/// writing. It stays valid as long as the array lives and is neither unshared nor released. Throws for want of memory,
/// and only in libraries that know complex elements by references alone.
inline void* elementAddress(IteratorImpl* iterator, bool isComplex) {
    void* element = nullptr;
    if (!isComplex) {
        static const auto fcn = resolve<FunctionType::IteratorGetElement>();
        fcn(iterator, &element);
        return element;
    }
    static const auto fcn = find<FunctionType::IteratorGetComplexElement>();
    if (fcn != nullptr) [[likely]] {
        fcn(iterator, &element);
        return element;
    }
    static const auto fcn1 = resolve<FunctionType::IteratorGetReference>();
    static const auto fcn2 = resolve<FunctionType::ReferenceGetParts>();
    ReferenceImpl* reference = nullptr;
    fcn1(iterator, &reference);
    if (reference == nullptr) {
        throwIfError(static_cast<int>(ExceptionType::OutOfMemory));
    }
    const ReferenceHolder holder(reference);
    void* imagPart = nullptr;
    throwIfError(fcn2(holder.impl(), &element, &imagPart));
    return element;
}

/// The function by which a library tells of elements that never move, or null.
inline auto fixedElementsFunction() noexcept {
    static const auto fcn = find<FunctionType::ArrayGetFixedElements>();
    return fcn;
}

} // namespace orvane::data::detail
