// The elements of an array with its extents, for code that computes with subscripts.
#pragma once

#include "element_types.hpp"
#include "typed_array.hpp"

#include <array>
#include <concepts>
#include <cstddef>
#include <span>
#include <stdexcept>
#include <utility>
#include <vector>
#include <version>

#ifdef __cpp_lib_mdspan
#include <mdspan>
#endif

namespace orvane::data {

/// Elements in column-major order: the first subscript runs fastest, and one step in dimension `d` is
/// `stride(d)` elements. Owns its extents but not the elements, which lie where the array has them: valid as
/// long as a handle holds the array and nobody unshares, releases or detaches it.
template <class T>
class ColumnMajorSpan {
public:
    using element_type = T;

    ColumnMajorSpan(T* elements, std::vector<std::size_t> extents)
        : m_elements(elements), m_extents(std::move(extents)), m_strides(m_extents.size()) {
        std::size_t stride = 1;
        for (std::size_t d = 0; d < m_extents.size(); ++d) {
            m_strides[d] = stride;
            stride *= m_extents[d];
        }
        m_size = stride;
    }

    T* data() const noexcept { return m_elements; }
    /// How many elements there are.
    std::size_t size() const noexcept { return m_size; }
    std::size_t rank() const noexcept { return m_extents.size(); }
    /// 1 beyond the last dimension, where arrays drop extents of 1.
    std::size_t extent(std::size_t dimension) const noexcept { return dimension < rank() ? m_extents[dimension] : 1; }
    /// In elements.
    std::size_t stride(std::size_t dimension) const noexcept {
        return dimension < rank() ? m_strides[dimension] : m_size;
    }
    const std::vector<std::size_t>& extents() const noexcept { return m_extents; }
    const std::vector<std::size_t>& strides() const noexcept { return m_strides; }

    // What these three return points to the array's elements and not into the span, so that the span may be gone:
    // GCC, which cannot know, would warn of a dangling reference where users loop over `elementsOf(array).flat()`.
#if defined(__GNUC__) && !defined(__clang__) && __GNUC__ >= 13
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdangling-reference"
#endif

    /// The element at the subscripts, one a dimension; dimensions that are left out count as 0. Not checked.
    template <std::integral... Subscript>
    T& operator()(Subscript... subscript) const noexcept {
        std::size_t dimension = 0;
        std::size_t offset = 0;
        ((offset += static_cast<std::size_t>(subscript) * stride(dimension++)), ...);
        return m_elements[offset];
    }

    /// All elements in the order of storage.
    std::span<T> flat() const noexcept { return {m_elements, m_size}; }

    /// The elements behind the first subscript at one position of all others: of a matrix, a column.
    std::span<T> column(std::size_t position) const noexcept { return {m_elements + position * extent(0), extent(0)}; }

#if defined(__GNUC__) && !defined(__clang__) && __GNUC__ >= 13
#pragma GCC diagnostic pop
#endif

#ifdef __cpp_lib_mdspan
    /// The same as the standard's view. Throws `std::invalid_argument` when the array has more dimensions.
    template <std::size_t Rank>
    std::mdspan<T, std::dextents<std::size_t, Rank>, std::layout_left> toMdspan() const {
        if (rank() > Rank) {
            throw std::invalid_argument("the array has more dimensions than the mdspan");
        }
        std::array<std::size_t, Rank> padded;
        for (std::size_t d = 0; d < Rank; ++d) {
            padded[d] = extent(d);
        }
        return std::mdspan<T, std::dextents<std::size_t, Rank>, std::layout_left>(m_elements, padded);
    }
#endif

private:
    T* m_elements;
    std::vector<std::size_t> m_extents;
    std::vector<std::size_t> m_strides;
    std::size_t m_size = 0;
};

namespace detail {

/// The extents of an array. Some libraries have an empty array of no dimensions, whose product would be 1.
inline std::vector<unsigned long> extentsOf(const Array& array) {
    std::vector<unsigned long> extents = array.getDimensions();
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
