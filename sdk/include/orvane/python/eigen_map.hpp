// Eigen's matrices over elements that were lent, and as Python arrays. Stands beside any header of a binding library.
#pragma once

#include <orvane/data.hpp>
#include <orvane/python/adopt.hpp>
#include <orvane/python/element.hpp>
#include <orvane/python/reference.hpp>

#include <Eigen/Core>

#include <concepts>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

namespace detail {

template <class Plain>
std::type_identity<Plain> plainTypeOf(const Eigen::PlainObjectBase<Plain>*);

/// `Eigen::Matrix` or `Eigen::Array` itself, of whatever extents.
template <class Plain>
concept EigenPlain = std::is_class_v<Plain> && requires(const Plain* plain) {
    { plainTypeOf(plain) } -> std::same_as<std::type_identity<Plain>>;
} && PythonElement<typename Plain::Scalar>;

/// Whether its elements stand in column-major order, as Python's do; those of a vector always do.
template <class Plain>
inline constexpr bool isColumnMajor = Plain::IsVectorAtCompileTime || !Plain::IsRowMajor;

} // namespace detail

/// The elements of a span as a matrix of Eigen's, in place; it is valid as long as the span is. One dimension is a
/// column. `std::invalid_argument` when there are more than two.
template <class T, std::size_t Rank>
auto eigenMap(const data::ColumnMajorSpan<T, Rank>& span) {
    using Matrix = Eigen::Matrix<std::remove_const_t<T>, Eigen::Dynamic, Eigen::Dynamic>;
    using AnyStride = Eigen::Stride<Eigen::Dynamic, Eigen::Dynamic>;
    using Map = Eigen::Map<std::conditional_t<std::is_const_v<T>, const Matrix, Matrix>, Eigen::Unaligned, AnyStride>;
    if (span.rank() > 2) {
        throw std::invalid_argument("the array has more dimensions than a matrix");
    }
    return Map(span.data(), static_cast<Eigen::Index>(span.extent(0)), static_cast<Eigen::Index>(span.extent(1)),
               AnyStride(span.stride(1), span.stride(0)));
}

/// A new Python array that takes a matrix over: no element is copied, but for those of matrices of fixed extents, which
/// lie in the object itself.
template <detail::EigenPlain Plain>
Reference toPython(Plain&& matrix) {
    static_assert(detail::isColumnMajor<Plain>, "Python's arrays are column-major: make the matrix so");
    auto owner = std::make_unique<Plain>(std::move(matrix));
    const std::vector<std::size_t> extents = {static_cast<std::size_t>(owner->rows()),
                                              static_cast<std::size_t>(owner->cols())};
    auto* const elements = owner->data();
    return adoptBlock(elements, extents, std::move(owner));
}

} // namespace python
} // namespace orvane
