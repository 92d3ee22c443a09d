// Reading single elements from raw storage, and choosing code by an array's element type.
#pragma once

#include <complex>
#include <cstddef>
#include <cstring>
#include <type_traits>
#include <utility>

#include <orvane_data_array/element_table.hpp>

#include "core/core_array.hpp"

namespace orvane::python {

/// The element at an address. Native code may leave bytes other than 0 and 1 in logical arrays; they read as true.
template <class T>
T loadElement(const std::byte* address) noexcept {
    if constexpr (std::is_same_v<T, bool>) {
        return *address != std::byte{0};
    } else {
        T element;
        std::memcpy(static_cast<void*>(&element), address, sizeof(T));
        return element;
    }
}

/// Calls `visit.template operator()<U>()` for the element type of an array, `std::complex` of the type when its
/// elements are complex, and hands on the result.
template <class Visit>
decltype(auto) visitElementTypeOf(const OCppPyArray& array, Visit&& visit) {
    return visitElementType(static_cast<std::size_t>(array.supportedArrayEnum()), [&]<class T>() -> decltype(auto) {
        if constexpr (!std::is_same_v<T, bool>) {
            if (array.isComplex())
                return visit.template operator()<std::complex<T>>();
        }
        return visit.template operator()<T>();
    });
}

} // namespace orvane::python
