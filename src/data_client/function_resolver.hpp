// Finding the functions of the data-array library by number.
//
// Every client operation keeps the functions that it needs in function-local statics, one per function
// and template instantiation:
//
//     static const auto fcn = detail::resolve<detail::FunctionType::ArrayGetType>();
//
// A successful call afterwards costs the test of the static's guard and an indirect call. A resolution
// that throws leaves the static unset, so that the next call asks again.
#pragma once

#include "exception.hpp"

#include <orvane_data_array/boundary.hpp>

#include <array>
#include <string>
#include <string_view>
#include <utility>

namespace orvane::data::detail {

/// A release of the library, by the first function number that came with it.
struct ReleaseRow {
    int boundary;
    std::string_view label;
};

inline constexpr std::array<ReleaseRow, 8> minRelease{{
    {0, "LvlA"},
    {109, "LvlB"},
    {110, "LvlC"},
    {118, "LvlD"},
    {128, "LvlE"},
    {129, "LvlE"},
    {130, "LvlF"},
    {131, "FUTURE"},
}};

/// The label of the release that a function number, which must not be negative, came with: that of the
/// greatest boundary not above it.
constexpr std::string_view releaseLabel(FunctionType number) noexcept {
    auto row = minRelease.rbegin();
    while (row->boundary > static_cast<int>(number) && row + 1 != minRelease.rend()) {
        ++row;
    }
    return row->label;
}

[[noreturn, gnu::cold]] inline void throwMissingFunction(FunctionType number) {
    throw ArrayException<Exception, ExceptionType::FeatureNotSupported>("This feature requires " +
                                                                        std::string(releaseLabel(number)));
}

/// The function that bears the number, as a pointer of type `T`. Throws when the library at hand does not
/// offer it.
template <class T>
T resolveFunction(FunctionType number) {
    if (void* const function = get_function_ptr(static_cast<int>(number))) [[likely]] {
        return reinterpret_cast<T>(function);
    }
    throwMissingFunction(number);
}

/// The same with the type that the boundary gives the number.
template <FunctionType Number>
BoundaryPointer<Number> resolve() {
    return resolveFunction<BoundaryPointer<Number>>(Number);
}

/// For functions that have a fallback: the function, or null when the library at hand does not offer it.
template <FunctionType Number>
BoundaryPointer<Number> find() noexcept {
    return reinterpret_cast<BoundaryPointer<Number>>(get_function_ptr(static_cast<int>(Number)));
}

} // namespace orvane::data::detail
