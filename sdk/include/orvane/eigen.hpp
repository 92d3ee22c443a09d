// Eigen's types as parameters and results of bound functions. Include it after orvane/pybind11.hpp or
// orvane/nanobind.hpp; it needs Eigen 3.4 or later.
//
// | parameter                                    | what it is                                            | copies   |
// |----------------------------------------------|-------------------------------------------------------|----------|
// | `Eigen::Map<const Matrix, 0, Stride>`        | the elements as Python sees them, for reading         | none (1) |
// | `Eigen::Ref<const Matrix, 0, Stride>`        |                                                       |          |
// | the same without `const`                     | the same for writing: in place                        | none     |
// | `Matrix`, by value or by constant reference  | a matrix of the function's own                        | one      |
//
// `Matrix` is an `Eigen::Matrix` or `Eigen::Array` of any scalar that Python's arrays have, column-major, of extents
// that are fixed or not. Vectors take arrays of one extent other than 1 at most; matrices take two dimensions at most,
// and one dimension, a view's, is a column.
//
// (1) A view whose elements do not lie as `Stride` says is gathered for reading, and refused for writing. A plain `Map`
// knows no gaps; `Ref` has gaps between columns, as the views `a[i:j]` have them, when `Stride` is
// `Eigen::Stride<Eigen::Dynamic, Eigen::Dynamic>`. Elements in descending order are never had in place.
//
// Matrices are returned as well, and taken over by `toPython`: of fixed extents with a copy, others without. A map or
// reference is lent until the bound function has returned.
//
// The binding libraries have headers that make the same types NumPy's arrays, pybind11/eigen.h and
// nanobind/eigen/dense.h. One type cannot be both: all files of a module have to agree. Where NumPy's are wanted too,
// include orvane/python/eigen_map.hpp in place of this header, and take spans.
#pragma once

#ifdef PYBIND11_EIGEN_MESSAGE_POINTER_TYPES_ARE_NOT_SUPPORTED
#error "orvane/eigen.hpp and pybind11/eigen.h exclude each other: take spans and orvane/python/eigen_map.hpp"
#endif

#include <orvane/python.hpp>
#include <orvane/python/argument.hpp>
#include <orvane/python/eigen_map.hpp>

#include <Eigen/Core>

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <type_traits>
#include <utility>

static_assert(EIGEN_VERSION_AT_LEAST(3, 4, 0), "orvane/eigen.hpp needs Eigen 3.4 or later");

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

namespace detail {

constexpr std::size_t extentLike(int extent) {
    return extent == Eigen::Dynamic ? std::dynamic_extent : static_cast<std::size_t>(extent);
}

template <EigenPlain Plain>
using EigenExtents = std::conditional_t<
    Plain::IsVectorAtCompileTime, OneLine<extentLike(Plain::SizeAtCompileTime)>,
    ExtentsLike<std::array{extentLike(Plain::RowsAtCompileTime), extentLike(Plain::ColsAtCompileTime)}>>;

/// The arrays that a matrix type can show: of extents that are not fixed there may yet be a greatest one.
template <EigenPlain Plain>
struct EigenShape : EigenExtents<Plain> {
    static constexpr std::array most{extentLike(Plain::MaxRowsAtCompileTime), extentLike(Plain::MaxColsAtCompileTime)};

    static bool isMetBy(const auto& loan) {
        const bool fits = Plain::IsVectorAtCompileTime ? loan.size() <= std::max(most[0], most[1])
                                                       : loan.extent(0) <= most[0] && loan.extent(1) <= most[1];
        return EigenExtents<Plain>::isMetBy(loan) && fits;
    }
    static std::string expected() {
        constexpr bool isEnough =
            most == std::array{extentLike(Plain::RowsAtCompileTime), extentLike(Plain::ColsAtCompileTime)};
        return EigenExtents<Plain>::expected() +
               (isEnough ? "" : " and of " + shapeText(2, [](std::size_t d) { return most[d]; }) + " at most");
    }
};

template <EigenPlain Plain>
struct Argument<Plain> {
    using Element = typename Plain::Scalar;
    static constexpr bool isResult = true;
    static_assert(isColumnMajor<Plain>, "Python's arrays are column-major: make the matrix so");

    static std::optional<Plain> tryTake(PyObject* object, bool mayRefuse, auto&&) {
        const auto loan = lendShaped<const Element, EigenShape<Plain>>(object, mayRefuse);
        if (!loan) {
            return std::nullopt;
        }
        std::optional<Plain> matrix(std::in_place);
        if constexpr (Plain::IsVectorAtCompileTime) {
            matrix->resize(static_cast<Eigen::Index>(loan->size()));
        } else {
            matrix->resize(static_cast<Eigen::Index>(loan->extent(0)), static_cast<Eigen::Index>(loan->extent(1)));
        }
        copyElements<Element>(*loan, matrix->data());
        return matrix;
    }
    static Reference give(Plain&& matrix) { return toPython(std::move(matrix)); }
};

/// Of maps and references, how the elements have to lie.
template <class Matrix, class Stride>
struct EigenPlace {
    using Plain = std::remove_const_t<Matrix>;
    using Element = std::conditional_t<std::is_const_v<Matrix>, const typename Plain::Scalar, typename Plain::Scalar>;
    using Map = Eigen::Map<Matrix, Eigen::Unaligned, Stride>;

    static constexpr int innerAsked = Stride::InnerStrideAtCompileTime; ///< 0 is 1
    static constexpr int outerAsked = Stride::OuterStrideAtCompileTime; ///< 0 is no gap
    static constexpr bool areColumnsAnywhere = outerAsked == Eigen::Dynamic && !Plain::IsVectorAtCompileTime;
    static_assert(isColumnMajor<Plain>, "Python's arrays are column-major: make the matrix so");
    static_assert((innerAsked == 0 || innerAsked == 1 || innerAsked == Eigen::Dynamic) &&
                      (outerAsked == 0 || outerAsked == Eigen::Dynamic),
                  "strides are 1 or dynamic");

    Eigen::Index rows, columns, inner, outer;

    explicit EigenPlace(const LentElements<Element>& loan) {
        if constexpr (Plain::IsVectorAtCompileTime) {
            const auto size = static_cast<Eigen::Index>(loan.size());
            rows = Plain::ColsAtCompileTime == 1 ? size : 1;
            columns = Plain::ColsAtCompileTime == 1 ? 1 : size;
            inner = OneLine<>::stride(loan);
            outer = rows * inner;
        } else {
            rows = static_cast<Eigen::Index>(loan.extent(0));
            columns = static_cast<Eigen::Index>(loan.extent(1));
            const bool isEmpty = loan.size() == 0;
            inner = rows > 1 && !isEmpty ? loan.stride(0) : 1;
            outer = columns > 1 && !isEmpty ? loan.stride(1) : rows * inner;
        }
    }

    static bool isMetBy(const LentElements<Element>& loan) {
        const EigenPlace place(loan);
        return (innerAsked == Eigen::Dynamic ? place.inner >= 1 : place.inner == 1) &&
               (areColumnsAnywhere ? place.outer >= 0 : place.outer == place.rows * place.inner);
    }
    static std::string expected() {
        return innerAsked == Eigen::Dynamic ? AscendingOrder::expected()
               : areColumnsAnywhere         ? " without gaps within its columns"
                                            : NoGaps::expected();
    }

    Map mapOf(Element* elements) const {
        const Eigen::Index knownInner = innerAsked == Eigen::Dynamic ? inner : innerAsked;
        const Eigen::Index knownOuter = outerAsked == Eigen::Dynamic ? outer : outerAsked;
        if constexpr (std::is_constructible_v<Stride, Eigen::Index, Eigen::Index>) {
            return Map(elements, rows, columns, Stride(knownOuter, knownInner));
        } else {
            return Map(elements, rows, columns, Stride(outerAsked == Eigen::Dynamic ? knownOuter : knownInner));
        }
    }
};

/// `View` is a map of `Matrix` or a reference to it.
template <class View, class Matrix, class Stride>
    requires EigenPlain<std::remove_const_t<Matrix>>
struct EigenViewArgument {
    using Place = EigenPlace<Matrix, Stride>;
    using Element = typename Place::Plain::Scalar;
    static constexpr bool isResult = false;

    static std::optional<View> tryTake(PyObject* object, bool mayRefuse, auto&& keep) {
        auto loan = lendShaped<typename Place::Element, EigenShape<typename Place::Plain>, Place>(object, mayRefuse);
        if (!loan) {
            return std::nullopt;
        }
        std::optional<View> view(std::in_place, Place(*loan).mapOf(loan->data()));
        keep(keeperOf(*std::move(loan)));
        return view;
    }
};

template <class Matrix, class Stride>
struct Argument<Eigen::Map<Matrix, Eigen::Unaligned, Stride>>
    : EigenViewArgument<Eigen::Map<Matrix, Eigen::Unaligned, Stride>, Matrix, Stride> {};

template <class Matrix, class Stride>
struct Argument<Eigen::Ref<Matrix, Eigen::Unaligned, Stride>>
    : EigenViewArgument<Eigen::Ref<Matrix, Eigen::Unaligned, Stride>, Matrix, Stride> {
    // Eigen lets no other refer to elements: one of constants has a copy, in itself, which would go before it is used.
    static_assert(Matrix::IsVectorAtCompileTime || Stride::OuterStrideAtCompileTime == Eigen::Dynamic,
                  "references to matrices have a stride between columns: Eigen::OuterStride<>, or take a Map");
};

template <class Caster>
concept ConvertsByArgument = requires { typename Caster::Argument; };

} // namespace detail

} // namespace python
} // namespace orvane

// Tells of another caster that came first; one that comes later is ambiguous where it is used.
#ifdef PYBIND11_VERSION_MAJOR
static_assert(orvane::python::detail::ConvertsByArgument<pybind11::detail::type_caster<Eigen::MatrixXd>>,
              "include orvane/pybind11.hpp before orvane/eigen.hpp, and pybind11/eigen.h not at all");
#endif
#ifdef NB_VERSION_MAJOR
static_assert(orvane::python::detail::ConvertsByArgument<nanobind::detail::type_caster<Eigen::MatrixXd>>,
              "include orvane/nanobind.hpp before orvane/eigen.hpp, and nanobind/eigen/dense.h not at all");
#endif
