// A handle to an array of the data-array library, of whatever element kind.
#pragma once

#include "element_address.hpp"
#include "element_types.hpp"
#include "function_resolver.hpp"
#include "owner_count.hpp"
#include "throw_if_error.hpp"

#include <orvane_data_array/status.hpp>

#include <cstdint>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#if !defined(__cpp_rtti) || !defined(__cpp_exceptions)
#error "orvane/data.hpp needs run-time type information, which tells own arrays from lent ones, and exceptions"
#endif

namespace orvane::data {

/// Whether the library promises that the elements of an array stay where they are as long as it lives. Then addresses
/// may be kept, and the only owner may write to them; otherwise they are asked for anew for every round of writing.
inline bool elementsNeverMove() noexcept {
    return detail::fixedElementsFunction() != nullptr;
}

/// Copying a handle shares the array. Operations that write go through `TypedArray` and give the writing
/// handle a copy of its own first when others share the array (copy-on-write). A handle that was moved
/// from may only be assigned or destroyed.
class Array {
public:
    /// What the library regards as an empty array: 0-by-0, of `double`, in Orvane's own.
    Array() noexcept : Array(makeEmpty()) {}

    /// Takes ownership of the library's array, also when it throws for want of memory.
    explicit Array(impl::ArrayImpl* array) : m_impl(array, Destroy{}) {}

    /// Shares an array that somebody else owns; what keeps it alive is the pointer's own business. Such a handle
    /// never counts as the only owner, so whatever is written through it or a copy of it goes to a copy of the array.
    explicit Array(std::shared_ptr<impl::ArrayImpl> borrowed) noexcept : m_impl(std::move(borrowed)) {}

    Array(const Array&) = default;
    Array(Array&&) noexcept = default;
    Array& operator=(const Array&) = default;
    Array& operator=(Array&&) noexcept = default;
    virtual ~Array() = default;

    ArrayType getType() const {
        static const auto fcn = detail::resolve<detail::FunctionType::ArrayGetType>();
        int type = 0;
        detail::throwIfError(fcn(m_impl.get(), &type));
        return static_cast<ArrayType>(type);
    }

    /// The extents, first dimension first.
    std::vector<unsigned long> getDimensions() const noexcept {
        static const auto fcn = detail::resolve<detail::FunctionType::ArrayGetDimensions>();
        unsigned long numDims = 0;
        unsigned long* dims = nullptr;
        fcn(m_impl.get(), &numDims, &dims);
        return {dims, dims + numDims};
    }

    /// The same, borrowed from the array.
    std::span<const unsigned long> extents() const noexcept {
        static const auto fcn = detail::resolve<detail::FunctionType::ArrayGetDimensions>();
        unsigned long numDims = 0;
        unsigned long* dims = nullptr;
        fcn(m_impl.get(), &numDims, &dims);
        return {dims, numDims};
    }

    unsigned long getNumberOfElements() const noexcept {
        static const auto fcn = detail::resolve<detail::FunctionType::ArrayGetNumberOfElements>();
        return fcn(m_impl.get());
    }

    /// The address of the first element, for reading; what is shared stays shared. Unlike an iterator it takes no
    /// memory of this layer's, and want of the library's is an exception.
    const void* elements() const {
        return addressOfElements(isComplexKind(static_cast<std::int32_t>(getType())), false);
    }

    /// The same for writing, after the unshare step: what was asked for before may point elsewhere now. Valid until
    /// the array is unshared, released or destroyed.
    void* writableElements() {
        const bool areComplex = isComplexKind(static_cast<std::int32_t>(getType())); // before anything can move
        unshare();
        return addressOfElements(areComplex, true);
    }

    /// The library's array, borrowed: valid as long as a handle holds it.
    impl::ArrayImpl* impl() const noexcept { return m_impl.get(); }

    /// How many handles share the array, this one included. When no other is left, what was done through others that
    /// went on other threads has happened before.
    long useCount() const noexcept { return detail::ownerCount(m_impl); }

    /// Makes this handle the only owner of its array, by a copy of the elements if need be. Throws for want
    /// of memory and then leaves the handle as it was.
    void unshare() {
        static const auto fcn = detail::resolve<detail::FunctionType::ArrayUnshare>();
        impl::ArrayImpl* copy = nullptr;
        if (!fcn(m_impl.get(), isUnique(), &copy)) [[likely]] {
            return;
        }
        if (copy == nullptr) {
            detail::throwStatus(static_cast<int>(Status::OutOfMemory), {});
        }
        m_impl = std::shared_ptr<impl::ArrayImpl>(copy, Destroy{});
    }

    /// Gives the library's array away, or a copy of it when others share it, and leaves the handle as one that was
    /// moved from. Who takes the pointer owns the array: `Array(impl::ArrayImpl*)` takes it up again. Throws for want
    /// of memory and then leaves the handle as it was.
    [[nodiscard]] impl::ArrayImpl* detach() {
        unshare();
        if (Destroy* const owner = std::get_deleter<Destroy>(m_impl)) {
            owner->isArmed = false;
        }
        impl::ArrayImpl* const array = m_impl.get();
        m_impl.reset();
        return array;
    }

protected:
    struct Destroy {
        bool isArmed = true; ///< false once the array has been given away

        void operator()(impl::ArrayImpl* array) const {
            if (!isArmed) {
                return;
            }
            static const auto fcn2 = detail::resolve<detail::FunctionType::ArrayDestroy>();
            fcn2(array);
        }
    };

    void* addressOfElements(bool areComplex, bool forWriting) const {
        if (const auto fixed = detail::fixedElementsFunction()) [[likely]] {
            return fixed(m_impl.get());
        }
        const std::unique_ptr<detail::IteratorImpl, detail::DestroyIterator> first(
            detail::beginOf(m_impl.get(), forWriting));
        if (first) [[likely]] {
            return detail::elementAddress(first.get(), areComplex);
        }
        if (getNumberOfElements() != 0) {
            detail::throwStatus(static_cast<int>(Status::OutOfMemory), {});
        }
        return nullptr;
    }

    /// Whether no other handle shares the array and nobody lent it. Only arrays that this layer owns have `Destroy`.
    bool isUnique() const noexcept { return useCount() == 1 && std::get_deleter<Destroy>(m_impl) != nullptr; }

    std::shared_ptr<impl::ArrayImpl> m_impl;

private:
    static impl::ArrayImpl* makeEmpty() {
        static const auto fcn = detail::resolve<detail::FunctionType::ArrayCreateEmpty>();
        return fcn();
    }
};

} // namespace orvane::data
