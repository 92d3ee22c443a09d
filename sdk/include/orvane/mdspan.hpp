// `std::mdspan` as a parameter of bound functions, with standard libraries that have it; without one this header is
// empty. Include it after orvane/pybind11.hpp or orvane/nanobind.hpp.
//
// Of constant elements it reads, of others it writes, in place, as a `ColumnMajorSpan` does. `std::layout_stride` takes
// the strides of the view that came; `std::layout_left` asks for elements without gaps, so that a view that has some is
// gathered for reading and refused for writing, as is one of descending order with either. Arrays of fewer dimensions
// are filled up with extents of 1, and extents that are fixed are checked, as is that the index type can count to the
// last element. It is lent until the function has returned.
#pragma once

#include <version>

#ifdef __cpp_lib_mdspan

#include <orvane/python.hpp>
#include <orvane/python/argument.hpp>

#include <array>
#include <cstddef>
#include <limits>
#include <mdspan>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

namespace detail {

/// The fixed extents are checked, and all have to be numbers of the index type.
template <class Index, std::size_t... Fixed>
struct MdspanShape : ExtentsLike<std::array<std::size_t, sizeof...(Fixed)>{Fixed...}> {
    using Extents = ExtentsLike<std::array<std::size_t, sizeof...(Fixed)>{Fixed...}>;

    static bool isMetBy(const auto& loan) {
        bool isMet = Extents::isMetBy(loan) && std::in_range<Index>(loan.size());
        for (std::size_t d = 0; d < loan.rank(); ++d) {
            isMet = isMet && std::in_range<Index>(loan.extent(d)); // where there are no elements it may be any number
        }
        return isMet;
    }
    static std::string expected() {
        return Extents::expected() + " and of " + std::to_string(std::numeric_limits<Index>::max()) +
               " elements at most";
    }
    static std::string came(const auto& loan) { return shapeOf(loan); }
};

/// With strides: offsets are numbers of the index type, too, up to that of the last element, which in a view may be far
/// more than there are elements.
template <class Index>
struct MdspanReach : AscendingOrder {
    static bool isMetBy(const auto& loan) {
        std::size_t reach = 1;
        for (std::size_t d = 0; d < loan.rank() && loan.size() > 0; ++d) {
            reach += (loan.extent(d) - 1) * static_cast<std::size_t>(loan.stride(d));
        }
        return AscendingOrder::isMetBy(loan) && std::in_range<Index>(reach);
    }
    static std::string expected() { return AscendingOrder::expected() + ", within the reach of the index type"; }
};

template <class T, class Index, std::size_t... Fixed, class Layout>
    requires PythonElement<std::remove_const_t<T>>
struct Argument<std::mdspan<T, std::extents<Index, Fixed...>, Layout>> {
    using Element = std::remove_const_t<T>;
    using Span = std::mdspan<T, std::extents<Index, Fixed...>, Layout>;
    static constexpr bool isResult = false;
    static constexpr std::size_t rank = sizeof...(Fixed);
    static constexpr bool isStrided = std::is_same_v<Layout, std::layout_stride>;
    using Place = std::conditional_t<isStrided, MdspanReach<Index>, NoGaps>;
    static_assert(isStrided || std::is_same_v<Layout, std::layout_left>,
                  "Python's arrays are column-major: take std::layout_left or std::layout_stride");

    static std::optional<Span> tryTake(PyObject* object, bool mayRefuse, auto&& keep) {
        auto loan = lendShaped<T, MdspanShape<Index, Fixed...>, Place>(object, mayRefuse);
        if (!loan) {
            return std::nullopt;
        }
        const data::ColumnMajorSpan<T, rank> elements = loan->template span<rank>();
        std::optional<Span> span(std::in_place, elements.data(), mappingOf(elements));
        keep(keeperOf(*std::move(loan)));
        return span;
    }

private:
    static typename Span::mapping_type mappingOf(const data::ColumnMajorSpan<T, rank>& elements) {
        std::array<Index, rank> extents{}, strides{};
        for (std::size_t d = 0; d < rank; ++d) {
            extents[d] = static_cast<Index>(elements.extent(d));
            const bool hasSteps = elements.size() > 0 && elements.extent(d) > 1;
            strides[d] = hasSteps ? static_cast<Index>(elements.stride(d)) : Index{1};
        }
        const std::extents<Index, Fixed...> shape(extents);
        if constexpr (isStrided) {
            return {shape, strides};
        } else {
            return typename Span::mapping_type(shape);
        }
    }
};

} // namespace detail

} // namespace python
} // namespace orvane

#endif // __cpp_lib_mdspan
