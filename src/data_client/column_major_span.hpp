// The elements of an array with its extents, for code that computes with subscripts.
#pragma once

#include "element_types.hpp"
#include "typed_array.hpp"

#include <array>
#include <concepts>
#include <cstddef>
#include <span>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>
#include <version>

#ifdef __cpp_lib_mdspan
#include <mdspan>
#endif

// Says that what a function returns does not point into the object that it was called on.
#if defined(__has_cpp_attribute) && __has_cpp_attribute(gnu::no_dangling)
#define ORVANE_POINTS_ELSEWHERE [[gnu::no_dangling]]
#else
#define ORVANE_POINTS_ELSEWHERE
#endif

namespace orvane::data {

/// Elements with their extents, outermost Python level first, and their strides in elements. Those of an array stand in
/// column-major order without gaps: the first subscript runs fastest. Those that a view of Python's has lent may lie
/// further apart, and in descending order.
///
/// `Rank` is the number of dimensions where it is known when the program is compiled; the span then takes no memory of
/// its own. Spans own their extents but not the elements, which lie where the array has them: valid as long as a handle
/// holds the array and nobody unshares, releases or detaches it, or as long as the loan is open.
template <class T, std::size_t Rank = std::dynamic_extent>
class ColumnMajorSpan {
    static constexpr bool isRankFixed = Rank != std::dynamic_extent;

public:
    using element_type = T;
    /// A number for each dimension.
    template <class Number>
    using PerDimension =
        std::conditional_t<isRankFixed, std::array<Number, isRankFixed ? Rank : 0>, std::vector<Number>>;
    using Extents = PerDimension<std::size_t>;
    using Strides = PerDimension<std::ptrdiff_t>;

    /// No elements: every extent is 0, of two dimensions where the rank is not fixed.
    ColumnMajorSpan() : m_size(0) {
        if constexpr (!isRankFixed) {
            m_extents.assign(2, 0);
            m_strides.assign(2, 1);
        }
    }

    /// Elements without gaps.
    ColumnMajorSpan(T* elements, Extents extents) : m_elements(elements), m_extents(std::move(extents)) {
        if constexpr (!isRankFixed) {
            m_strides.resize(m_extents.size());
        }
        for (std::size_t d = 0; d < rank(); ++d) {
            m_strides[d] = static_cast<std::ptrdiff_t>(m_size);
            m_size *= m_extents[d];
        }
    }

    ColumnMajorSpan(T* elements, Extents extents, Strides strides)
        : m_elements(elements), m_extents(std::move(extents)), m_strides(std::move(strides)) {
        for (const std::size_t extent : m_extents) {
            m_size *= extent;
        }
    }

    /// The same elements with a rank that is fixed, and for reading if `T` is constant. Missing dimensions at the end
    /// are of extent 1, as arrays drop them there; `std::invalid_argument` when there are too many.
    template <class Other, std::size_t OtherRank>
        requires(isRankFixed && std::is_convertible_v<Other (*)[], T (*)[]>)
    ColumnMajorSpan(const ColumnMajorSpan<Other, OtherRank>& other) : m_elements(other.data()), m_size(other.size()) {
        if (other.rank() > Rank) {
            throw std::invalid_argument("the array has more dimensions than the span");
        }
        for (std::size_t d = 0; d < Rank; ++d) {
            m_extents[d] = other.extent(d);
            m_strides[d] = other.stride(d);
        }
    }

    /// For reading what may be written.
    template <class Other>
        requires(!isRankFixed && !std::is_same_v<Other, T> && std::is_convertible_v<Other (*)[], T (*)[]>)
    ColumnMajorSpan(const ColumnMajorSpan<Other>& other)
        : ColumnMajorSpan(other.data(), other.extents(), other.strides()) {}

    T* data() const noexcept { return m_elements; }
    /// How many elements there are.
    std::size_t size() const noexcept { return m_size; }
    std::size_t rank() const noexcept { return m_extents.size(); }
    /// 1 beyond the last dimension, where arrays drop extents of 1.
    std::size_t extent(std::size_t dimension) const noexcept { return dimension < rank() ? m_extents[dimension] : 1; }
    /// In elements.
    std::ptrdiff_t stride(std::size_t dimension) const noexcept {
        return dimension < rank() ? m_strides[dimension] : static_cast<std::ptrdiff_t>(m_size);
    }
    const Extents& extents() const noexcept { return m_extents; }
    const Strides& strides() const noexcept { return m_strides; }

    /// Whether the elements stand in column-major order without gaps.
    bool isContiguous() const noexcept {
        std::size_t gapless = 1;
        for (std::size_t d = 0; d < rank(); ++d) {
            if (m_extents[d] > 1 && m_strides[d] != static_cast<std::ptrdiff_t>(gapless)) {
                return m_size == 0;
            }
            gapless *= m_extents[d];
        }
        return true;
    }

    // GCC 13 warns of dangling references, but does not know the attribute yet.
#if defined(__GNUC__) && !defined(__clang__) && __GNUC__ == 13
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdangling-reference"
#endif

    /// The element at the subscripts, one a dimension; dimensions that are left out count as 0. Not checked.
    template <std::integral... Subscript>
    ORVANE_POINTS_ELSEWHERE T& operator()(Subscript... subscript) const noexcept {
        std::size_t dimension = 0;
        std::ptrdiff_t offset = 0;
        ((offset += static_cast<std::ptrdiff_t>(subscript) * stride(dimension++)), ...);
        return m_elements[offset];
    }

    /// All elements in the order of storage. `std::invalid_argument` when there are gaps between them.
    ORVANE_POINTS_ELSEWHERE std::span<T> flat() const {
        requireNoGaps(isContiguous());
        return {m_elements, m_size};
    }

    /// The elements behind the first subscript at one position of all others: of a matrix, a column.
    /// `std::invalid_argument` when there are gaps between them.
    ORVANE_POINTS_ELSEWHERE std::span<T> column(std::size_t position) const {
        requireNoGaps(stride(0) == 1 || extent(0) <= 1);
        if (m_size == 0) {
            return {m_elements, 0};
        }
        std::ptrdiff_t offset = 0;
        std::size_t d = 1;
        for (; d + 1 < rank(); ++d) { // the last dimension has what is left
            offset += static_cast<std::ptrdiff_t>(position % m_extents[d]) * m_strides[d];
            position /= m_extents[d];
        }
        return {m_elements + offset + static_cast<std::ptrdiff_t>(position) * stride(d), extent(0)};
    }

#if defined(__GNUC__) && !defined(__clang__) && __GNUC__ == 13
#pragma GCC diagnostic pop
#endif

#ifdef __cpp_lib_mdspan
    /// The same as the standard's view. `std::layout_left` asks for elements without gaps, `std::layout_stride` for
    /// ascending order. Throws `std::invalid_argument` where that is not so, and when the array has more dimensions.
    template <std::size_t OtherRank, class Layout = std::layout_left>
    std::mdspan<T, std::dextents<std::size_t, OtherRank>, Layout> toMdspan() const {
        static_assert(std::is_same_v<Layout, std::layout_left> || std::is_same_v<Layout, std::layout_stride>);
        if (rank() > OtherRank) {
            throw std::invalid_argument("the array has more dimensions than the mdspan");
        }
        std::array<std::size_t, OtherRank> extents{}, strides{};
        for (std::size_t d = 0; d < OtherRank; ++d) {
            extents[d] = extent(d);
            const bool hasSteps = m_size > 0 && extents[d] > 1;
            if (hasSteps && stride(d) <= 0) {
                throw std::invalid_argument("the elements do not stand in ascending order");
            }
            strides[d] = hasSteps ? static_cast<std::size_t>(stride(d)) : 1;
        }
        const std::dextents<std::size_t, OtherRank> shape(extents);
        if constexpr (std::is_same_v<Layout, std::layout_stride>) {
            return {m_elements, std::layout_stride::mapping(shape, strides)};
        } else {
            requireNoGaps(isContiguous());
            return {m_elements, std::layout_left::mapping(shape)};
        }
    }
#endif

private:
    static void requireNoGaps(bool hasNone) {
        if (!hasNone) [[unlikely]] {
            throw std::invalid_argument("the elements do not lie next to each other");
        }
    }

    T* m_elements = nullptr;
    Extents m_extents{};
    Strides m_strides{};
    std::size_t m_size = 1;
};

namespace detail {

/// The extents of an array. Some libraries have an empty array of no dimensions, whose product would be 1.
inline std::vector<unsigned long> extentsOf(const Array& array) {
    const auto borrowed = array.extents(); // unlike `getDimensions`, leaves want of memory to this function
    std::vector<unsigned long> extents(borrowed.begin(), borrowed.end());
    if (extents.empty() && array.getNumberOfElements() == 0) {
        extents.push_back(0);
    }
    return extents;
}

} // namespace detail

/// The elements for reading; what is shared stays shared.
template <ArrayElement T>
ColumnMajorSpan<const T> elementsOf(const TypedArray<T>& array) {
    return {array.data(), detail::extentsOf(array)};
}

/// A handle that is about to go cannot hold the elements.
template <ArrayElement T>
ColumnMajorSpan<const T> elementsOf(const TypedArray<T>&&) = delete;

/// The elements for writing. Others who share the array keep the old ones: the handle takes a copy first.
template <ArrayElement T>
ColumnMajorSpan<T> writableElementsOf(TypedArray<T>& array) {
    T* const elements = array.writableData();
    return {elements, detail::extentsOf(array)};
}

} // namespace orvane::data
