// Calls through the boundary of the data-array library, as a client without client classes makes them.
#pragma once

#include <orvane_data_array/boundary.hpp>
#include <orvane_data_array/element_kinds.hpp>
#include <orvane_data_array/status.hpp>

#include <cstddef>
#include <memory>
#include <span>
#include <type_traits>
#include <vector>

namespace boundary {

using orvane::data::MemoryLayout;
using orvane::data::Status;
using orvane::data::detail::BufferDeleter;
using orvane::data::detail::FunctionType;
using orvane::data::detail::IteratorImpl;
using orvane::data::detail::ReferenceImpl;
using orvane::data::impl::ArrayFactoryImpl;
using orvane::data::impl::ArrayImpl;

/// Calls the function that bears the number; `int` results come back as the statuses that they are.
template <FunctionType Number, class... Arguments>
auto call(Arguments... arguments) {
    using Pointer = orvane::data::detail::BoundaryPointer<Number>;
    const auto function = reinterpret_cast<Pointer>(get_function_ptr(static_cast<int>(Number)));
    if constexpr (std::is_same_v<decltype(function(arguments...)), int>) {
        return Status{function(arguments...)};
    } else {
        return function(arguments...);
    }
}

template <FunctionType Number>
struct DestroyBy {
    template <class T>
    void operator()(T* object) const {
        call<Number>(object);
    }
};

using ArrayPointer = std::unique_ptr<ArrayImpl, DestroyBy<FunctionType::ArrayDestroy>>;
using ReferencePointer = std::unique_ptr<ReferenceImpl, DestroyBy<FunctionType::ReferenceDestroy>>;

inline ArrayFactoryImpl* factory() {
    ArrayFactoryImpl* made = nullptr;
    call<FunctionType::FactoryCreate>(&made);
    return made;
}

using Extents = std::vector<unsigned long>;

inline Status createArray(int type, Extents extents, ArrayPointer& array) {
    ArrayImpl* made = nullptr;
    const Status status =
        call<FunctionType::FactoryCreateArray>(factory(), type, extents.data(), extents.size(), &made);
    array.reset(made);
    return status;
}

inline Status adopt(int type, Extents extents, void* buffer, BufferDeleter deleter, MemoryLayout layout,
                    ArrayPointer& array) {
    ArrayImpl* made = nullptr;
    const Status status = call<FunctionType::FactoryCreateArrayFromBuffer>(
        factory(), type, extents.data(), extents.size(), buffer, deleter, &made, static_cast<int>(layout));
    array.reset(made);
    return status;
}

inline Extents extentsOf(const ArrayPointer& array) {
    unsigned long size = 0;
    unsigned long* extents = nullptr;
    call<FunctionType::ArrayGetDimensions>(array.get(), &size, &extents);
    return {extents, extents + size};
}

inline int typeOf(const ArrayPointer& array) {
    int type = -1;
    call<FunctionType::ArrayGetType>(array.get(), &type);
    return type;
}

inline unsigned long countOf(const ArrayPointer& array) {
    return call<FunctionType::ArrayGetNumberOfElements>(array.get());
}

inline std::byte* dataOf(const ArrayPointer& array) {
    void* element = nullptr;
    call<FunctionType::IteratorGetElement>(call<FunctionType::ArrayBegin>(array.get(), false), &element);
    return static_cast<std::byte*>(element);
}

inline std::span<std::byte> bytesOf(const ArrayPointer& array) {
    return {dataOf(array), countOf(array) * orvane::elementSize(typeOf(array))};
}

/// The numbers of all element kinds.
inline std::vector<int> allElementKinds() {
    std::vector<int> kinds;
    for (int number = 0; number < orvane::arrayTypeLimit; ++number) {
        if (orvane::isElementKind(number)) {
            kinds.push_back(number);
        }
    }
    return kinds;
}

/// Numbers that no element kind bears.
inline constexpr int noElementKinds[] = {-1, 2, 23, 1 << 20};

} // namespace boundary
