// A handle to one writable element of an array.
#pragma once

#include "function_resolver.hpp"

#include <orvane_data_array/boundary.hpp>

#include <memory>

namespace orvane::data {

class ReferenceHolder {
public:
    /// Takes ownership of the library's reference.
    explicit ReferenceHolder(detail::ReferenceImpl* reference) : m_reference(reference, Destroy{}) {}

    /// The library's reference, borrowed.
    detail::ReferenceImpl* impl() const noexcept { return m_reference.get(); }

private:
    struct Destroy {
        void operator()(detail::ReferenceImpl* reference) const {
            static const auto fcn2 = detail::resolve<detail::FunctionType::ReferenceDestroy>();
            fcn2(reference);
        }
    };

    std::shared_ptr<detail::ReferenceImpl> m_reference;
};

} // namespace orvane::data
