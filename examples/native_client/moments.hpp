// What principal components need to know of observations, in a matrix that does not grow with them: so it can be
// computed of blocks of observations, and combined. Knows nothing of Python.
#pragma once

#include "decomposition.hpp"

#include <cstddef>

namespace spectral {

/// Of observations with n variables, (n + 1) x (n + 1): in the first row their number and the means of the variables,
/// below it, from the second column on, the sums of the products of deviations from the means, of each variable's
/// conjugate with each variable. The rest is 0.
template <class T>
Matrix<T> moments(const orvane::data::ColumnMajorSpan<const T, 2>& observations);

/// Those of all observations, of those of some and those of the others.
///
/// The products are about the means of each, so nothing is lost by subtracting large numbers. The extents are the same.
template <class T>
Matrix<T> mergeMoments(const orvane::data::ColumnMajorSpan<const T, 2>& some,
                       const orvane::data::ColumnMajorSpan<const T, 2>& others);

template <class T>
struct Components {
    Matrix<T> means;       ///< 1 x n
    Matrix<T> components;  ///< count x n, orthonormal rows
    Matrix<double> values; ///< 1 x count: the singular values of the centred observations, descending
};

/// The first `count` principal components, `count` being n at most. Throws as `decompose` does.
template <class T>
Components<T> componentsOf(const orvane::data::ColumnMajorSpan<const T, 2>& moments, std::size_t count);

/// The first `count` rows.
template <class T>
Matrix<T> topRows(const Matrix<T>& matrix, std::size_t count);

} // namespace spectral
