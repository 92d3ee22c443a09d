// Numbers at equal distances, of any element type, that become elements of one.
#pragma once

#include <complex>
#include <cstddef>

#include <orvane_data_array/element_table.hpp>

#include "elements/native_number.hpp"

namespace orvane::python {

/// What the items of a block are.
struct NumberKind {
    std::size_t row = 0;    ///< of the element table
    bool isComplex = false; ///< pairs of such numbers

    template <class T>
    static constexpr NumberKind of() noexcept {
        return {elementIndex<T>, isComplexElement<T>};
    }
    bool operator==(const NumberKind&) const noexcept = default;
    /// In bytes, of one item.
    std::size_t size() const noexcept {
        return visitElementType(row, []<class T>() { return sizeof(T); }) << (isComplex ? 1 : 0);
    }
};

/// Calls `visit.template operator()<From>()` for the type that items of a kind are, and hands on the result.
template <class Visit>
decltype(auto) visitKind(NumberKind kind, Visit&& visit) {
    return visitElementType(kind.row, [&]<class Part>() -> decltype(auto) {
        if constexpr (!std::is_same_v<Part, bool>) {
            if (kind.isComplex)
                return visit.template operator()<std::complex<Part>>();
        }
        return visit.template operator()<Part>();
    });
}

/// Items one after the other: of some kind, in memory, so many bytes apart; or, where `address` is null, the integers
/// that lie `stride` apart from `first` on. Those are of the kind of `std::int64_t`.
struct NumberRun {
    NumberKind kind;
    const std::byte* address;
    long stride;
    long long first = 0;

    /// What is left behind so many items.
    NumberRun from(long place) const noexcept {
        if (address == nullptr)
            return {kind, nullptr, stride, first + place * stride};
        return {kind, address + place * stride, stride};
    }
};

/// Whether an element that becomes a Python number and an element of the same type again is what it was.
template <class T>
inline constexpr bool keepsItsBits = !std::is_same_v<T, bool> && !std::is_same_v<RealElement<T>, float> &&
                                     (!isComplexElement<T> || std::is_same_v<RealElement<T>, double> || sizeof(T) < 16);

/// How items become elements of type `T`, one of the eleven or a complex form.
template <class T>
struct RunConversion {
    /// Whether items of a kind do. Assignment is more particular than construction.
    template <bool isConstruction>
    static Conversion from(NumberKind kind) noexcept {
        return visitKind(kind, []<class From>() { return conversionOf<T, From, isConstruction>(); });
    }

    /// Stores the first `count` items, of a kind that becomes `T` somehow, as elements `targetStride` bytes apart.
    /// False as soon as one is seen not to fit; others behind it may have been stored by then. Neither side needs to be
    /// aligned, and they do not overlap.
    static bool convert(const NumberRun& run, long count, std::byte* target, long targetStride) noexcept;
};

/// The same for code that does not depend on the type.
struct ElementWriter {
    bool (*convert)(const NumberRun& run, long count, std::byte* target, long targetStride) noexcept;
    bool (*keepsBits)(NumberKind kind) noexcept; ///< whether items of a kind are elements as they are
    long elementSize;

    template <class T>
    static constexpr ElementWriter of() noexcept {
        return {&RunConversion<T>::convert,
                [](NumberKind kind) noexcept { return keepsItsBits<T> && kind == NumberKind::of<T>(); },
                static_cast<long>(sizeof(T))};
    }
};

} // namespace orvane::python
