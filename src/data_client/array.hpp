// A handle to an array of the data-array library, of whatever element kind.
#pragma once

#include "element_types.hpp"
#include "function_resolver.hpp"
#include "throw_if_error.hpp"

#include <memory>
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

    unsigned long getNumberOfElements() const noexcept {
        static const auto fcn = detail::resolve<detail::FunctionType::ArrayGetNumberOfElements>();
        return fcn(m_impl.get());
    }

    /// The library's array, borrowed: valid as long as a handle holds it.
    impl::ArrayImpl* impl() const noexcept { return m_impl.get(); }

    /// How many handles share the array, this one included.
    long useCount() const noexcept { return m_impl.use_count(); }

protected:
    struct Destroy {
        void operator()(impl::ArrayImpl* array) const {
            static const auto fcn2 = detail::resolve<detail::FunctionType::ArrayDestroy>();
            fcn2(array);
        }
    };

    std::shared_ptr<impl::ArrayImpl> m_impl;

private:
    static impl::ArrayImpl* makeEmpty() {
        static const auto fcn = detail::resolve<detail::FunctionType::ArrayCreateEmpty>();
        return fcn();
    }
};

} // namespace orvane::data
