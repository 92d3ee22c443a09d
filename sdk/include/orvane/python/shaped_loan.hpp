// Elements lent to parameters of bound functions that ask for more than their type.
#pragma once

#include <orvane/python/element.hpp>
#include <orvane/python/errors.hpp>
#include <orvane/python/loan.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <type_traits>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

namespace detail {

/// "2 x 3 elements"; an extent that may be any is "n".
inline std::string shapeText(std::size_t rank, auto&& extentOf) {
    std::string text;
    for (std::size_t d = 0; d < rank; ++d) {
        const std::size_t extent = extentOf(d);
        text.append(d == 0 ? "" : " x ").append(extent == std::dynamic_extent ? "n" : std::to_string(extent));
    }
    return text.append(" elements");
}

/// "one of 2 x 3 elements"
inline std::string shapeOf(const auto& loan) {
    return "one of " + shapeText(loan.rank(), [&](std::size_t d) { return loan.extent(d); });
}

// Demands on the shape of an array: `isMetBy(loan)`, what is expected, in words that follow "a real orvane.double
// array", and what came.

struct AnyShape {
    static bool isMetBy(const auto&) { return true; }
    static std::string expected() { return {}; }
    static std::string came(const auto& loan) { return shapeOf(loan); }
};

/// So many dimensions at most, some perhaps of an extent that is told; `std::dynamic_extent` stands for any.
template <auto extents>
struct ExtentsLike {
    static bool isMetBy(const auto& loan) {
        bool isMet = loan.rank() <= extents.size();
        for (std::size_t d = 0; d < extents.size(); ++d) {
            isMet = isMet && (extents[d] == std::dynamic_extent || extents[d] == loan.extent(d));
        }
        return isMet;
    }
    static std::string expected() {
        const bool isRankAll = std::all_of(extents.begin(), extents.end(),
                                           [](std::size_t extent) { return extent == std::dynamic_extent; });
        return " of " + (isRankAll ? "rank " + std::to_string(extents.size()) + " at most"
                                   : shapeText(extents.size(), [](std::size_t d) { return extents[d]; }));
    }
    static std::string came(const auto& loan) {
        return loan.rank() > extents.size() ? "one of rank " + std::to_string(loan.rank()) : shapeOf(loan);
    }
};

template <std::size_t Rank>
inline constexpr auto extentsOfAnySize = [] {
    std::array<std::size_t, Rank> extents{};
    extents.fill(std::dynamic_extent);
    return extents;
}();

template <std::size_t Rank>
struct RankAtMost : ExtentsLike<extentsOfAnySize<Rank>> {};
template <>
struct RankAtMost<std::dynamic_extent> : AnyShape {};

/// One extent other than 1 at most, of any number of dimensions, or no elements; of a number that may be told.
template <std::size_t Count = std::dynamic_extent>
struct OneLine {
    static bool isMetBy(const auto& loan) {
        std::size_t lines = 0;
        for (std::size_t d = 0; d < loan.rank(); ++d) {
            lines += loan.extent(d) != 1;
        }
        return (lines <= 1 || loan.size() == 0) && (Count == std::dynamic_extent || loan.size() == Count);
    }
    static std::string expected() {
        return " with one extent other than 1 at most" +
               (Count == std::dynamic_extent ? "" : " and " + std::to_string(Count) + " elements");
    }
    static std::string came(const auto& loan) { return shapeOf(loan); }

    /// From one element to the next.
    static std::ptrdiff_t stride(const auto& loan) {
        std::size_t d = 0;
        while (d + 1 < loan.rank() && loan.extent(d) == 1) {
            ++d;
        }
        return loan.size() > 1 ? loan.stride(d) : 1;
    }
};

// Demands on how the elements lie: `isMetBy(loan)` and the words.

struct AnyPlace {
    static bool isMetBy(const auto&) { return true; }
    static std::string expected() { return {}; }
};

/// In column-major order.
struct NoGaps {
    static bool isMetBy(const auto& loan) { return loan.isContiguous(); }
    static std::string expected() { return " without gaps between its elements"; }
};

struct AscendingOrder {
    static bool isMetBy(const auto& loan) {
        bool isMet = true;
        for (std::size_t d = 0; d < loan.rank(); ++d) {
            isMet = isMet && (loan.stride(d) > 0 || loan.extent(d) <= 1 || loan.size() == 0);
        }
        return isMet;
    }
    static std::string expected() { return " in ascending order"; }
};

/// "one with the strides 2, -1"
inline std::string placeOf(const auto& loan) {
    std::string text = "one with the strides ";
    for (std::size_t d = 0; d < loan.rank(); ++d) {
        text.append(d == 0 ? "" : ", ").append(std::to_string(loan.stride(d)));
    }
    return text;
}

/// A loan of elements of type `T`, for writing unless it is constant, that meets the demands. Elements for reading that
/// do not lie as they should are gathered into a block of the loan's own. Nothing, without an error set, for other
/// objects and where the demands are not met; there, if it `mayRefuse`, a refusal in words is thrown instead.
template <class T, class Shape, class Place = AnyPlace>
std::optional<LentElements<T>> lendShaped(PyObject* object, bool mayRefuse) {
    using Element = std::remove_const_t<T>;
    if (!isOfKindOf<Element>(object)) {
        return std::nullopt;
    }
    const auto refused = [mayRefuse](const std::string& expected, const std::string& came) {
        if (mayRefuse) {
            refuse(describe<Element>(isComplexElement<Element>) + expected, came);
        }
        return std::optional<LentElements<T>>();
    };
    LentElements<T> loan = lendFor<T>(object, std::is_const_v<T> ? 0 : ORVANE_LOAN_WRITABLE);
    if constexpr (std::is_const_v<T>) {
        if (Shape::isMetBy(loan) && !Place::isMetBy(loan)) {
            loan = lendFor<T>(object, ORVANE_LOAN_CONTIGUOUS); // may run code of others, which may have reshaped it
        }
    }
    if (!Shape::isMetBy(loan)) {
        return refused(Shape::expected(), Shape::came(loan));
    }
    if (!Place::isMetBy(loan)) {
        return refused(Place::expected(), placeOf(loan));
    }
    return loan;
}

} // namespace detail

} // namespace python
} // namespace orvane
