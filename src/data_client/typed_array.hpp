// A handle to an array whose element kind is known.
#pragma once

#include "array.hpp"
#include "element_types.hpp"
#include "function_resolver.hpp"
#include "reference_holder.hpp"
#include "throw_if_error.hpp"
#include "typed_iterator.hpp"

#include <cstddef>
#include <memory>
#include <utility>

namespace orvane::data {

/// A block of elements that is freed by the deleter that it came with.
template <class T>
using Buffer = std::unique_ptr<T[], void (*)(T*)>;

namespace detail {

/// The owner of a block that the library hands over. Blocks are freed through `void*`; the deleter keeps
/// its address under the type that `Buffer` asks for, and pointers of either type are passed alike. A null deleter
/// frees nothing.
template <class T>
Buffer<T> makeBuffer(void* block, BufferDeleter deleter) noexcept {
    const BufferDeleter keep = [](void*) {};
    return Buffer<T>(static_cast<T*>(block), reinterpret_cast<void (*)(T*)>(deleter != nullptr ? deleter : keep));
}

} // namespace detail

template <ArrayElement T>
class TypedArray : public Array {
public:
    using iterator = TypedIterator<T>;
    using const_iterator = TypedIterator<const T>;
    using value_type = T;

    /// An empty array: 0-by-0. Defined with `ArrayFactory`, in array_factory.hpp.
    TypedArray();

    /// Throws when the elements are not of type `T`, and then leaves the source as it was.
    TypedArray(Array&& array) : Array(std::move(requireConvertible(array))) {}

    /// The same, sharing the array with the source.
    TypedArray(const Array& array) : Array(requireConvertible(array)) {}

    /// A writable reference to an element, counted in storage order.
    ReferenceHolder operator[](unsigned long index)
        requires ComplexArrayElement<T>
    {
        unshare();
        static const auto fcn3 = detail::resolve<detail::FunctionType::ArrayGetReference>();
        detail::ReferenceImpl* reference = nullptr;
        detail::throwIfError(fcn3(m_impl.get(), index, &reference));
        return ReferenceHolder(reference);
    }

    /// The first element for writing, which takes a copy first when others share the array. Want of memory for
    /// that copy ends the process here: `writableElementsOf` throws instead.
    iterator begin() noexcept {
        unshare();
        return iterator(detail::beginOf(m_impl.get(), true));
    }

    // A loop over a handle that is not constant would copy by accident where it only reads, and end the process for
    // want of memory where it writes. So there is none, and ranges are constant handles alone.
    iterator end() = delete; // write to writableElementsOf(array).flat(); read elementsOf(array).flat() or as_const

    /// The elements for reading; what is shared stays shared.
    const_iterator begin() const noexcept { return const_iterator(detail::beginOf(m_impl.get(), false)); }

    const_iterator end() const noexcept {
        static const auto fcn = detail::find<detail::FunctionType::ArrayEnd>();
        if (fcn != nullptr) [[likely]] {
            return const_iterator(fcn(m_impl.get(), false));
        }
        static const auto fcn2 = detail::resolve<detail::FunctionType::ArrayEndFallback>();
        return const_iterator(fcn2(m_impl.get(), false));
    }

    /// The address of the first element, for reading. Unlike an iterator it takes no memory of this layer's, and want
    /// of the library's is an exception.
    const T* data() const { return static_cast<const T*>(addressOfElements(ComplexArrayElement<T>, false)); }

    /// The same for writing, which takes a copy first when others share the array. Want of memory is an exception.
    T* writableData() {
        unshare();
        return static_cast<T*>(addressOfElements(ComplexArrayElement<T>, true));
    }

    const_iterator cbegin() const noexcept { return begin(); }
    const_iterator cend() const noexcept { return end(); }

    /// Hands over the buffer, or a copy of it when others share the array. The handle is not to be read
    /// afterwards.
    Buffer<T> release() {
        unshare();
        static const auto fcn = detail::resolve<detail::FunctionType::ArrayRelease>();
        void* block = nullptr;
        detail::BufferDeleter deleter = nullptr;
        detail::throwIfError(fcn(m_impl.get(), isUnique(), &block, &deleter));
        return detail::makeBuffer<T>(block, deleter);
    }

private:
    friend class ArrayFactory;

    /// Takes ownership of an array that the library has just made with elements of type `T`.
    explicit TypedArray(impl::ArrayImpl* array) : Array(array) {}

    /// The array itself, if its elements are of type `T`.
    template <class Source>
    static Source& requireConvertible(Source& array) {
        static const auto fcn = detail::resolve<detail::FunctionType::TypesAreConvertible>();
        bool convertible = false;
        detail::throwIfError(fcn(arrayTypeNumber<T>, static_cast<int>(array.getType()), &convertible));
        if (!convertible) {
            throw detail::ArrayException<Exception, ExceptionType::InvalidArrayType>(
                "Can't convert the Array to this TypedArray");
        }
        return array;
    }
};

/// An array of 16-bit characters.
class CharArray : public TypedArray<char16_t> {
public:
    using TypedArray<char16_t>::TypedArray;
};

} // namespace orvane::data
