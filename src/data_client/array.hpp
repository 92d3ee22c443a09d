// A handle to an array of the data-array library, of whatever element kind.
#pragma once

#include "element_types.hpp"
#include "function_resolver.hpp"
#include "throw_if_error.hpp"

#include <orvane_data_array/status.hpp>

#include <memory>
#include <span>
#include <utility>
#include <vector>

namespace orvane::data {

/// Copying a handle shares the array. Operations that write go through `TypedArray` and give the writing
/// handle a copy of its own first when others share the array (copy-on-write). A handle that was moved
/// from may only be assigned or destroyed.
class Array {
public:
    /// An empty array: 0-by-0, of `double`.
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

    /// The library's array, borrowed: valid as long as a handle holds it.
    impl::ArrayImpl* impl() const noexcept { return m_impl.get(); }

    /// How many handles share the array, this one included.
    long useCount() const noexcept { return m_impl.use_count(); }

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

    /// Whether no other handle shares the array and nobody lent it. Only arrays that this layer owns have `Destroy`.
    bool isUnique() const noexcept { return m_impl.use_count() == 1 && std::get_deleter<Destroy>(m_impl) != nullptr; }

    std::shared_ptr<impl::ArrayImpl> m_impl;

private:
    static impl::ArrayImpl* makeEmpty() {
        static const auto fcn = detail::resolve<detail::FunctionType::ArrayCreateEmpty>();
        return fcn();
    }
};

} // namespace orvane::data
