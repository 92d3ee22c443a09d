// The singular value decomposition of matrices whose elements are Orvane's. Knows nothing of Python.
#pragma once

#include <orvane/data.hpp>

#include <complex>

namespace spectral {

template <class T>
using Matrix = orvane::data::TypedArray<T>;

/// Elements of a matrix that LAPACK works on where they lie: those of a column next to each other, columns in ascending
/// order with room between them if need be. The extents and the stride from column to column fit an `int`. `T` is
/// `double` or `std::complex<double>`.
template <class T>
using Elements = orvane::data::ColumnMajorSpan<T, 2>;

/// matrix = left * diag(values) * right, with k = min(m, n) columns in `left` (m x k) and rows in `right` (k x n).
template <class T>
struct Decomposition {
    Matrix<double> values; ///< 1 x k, descending
    Matrix<T> left;
    Matrix<T> right; ///< for complex matrices the conjugate transpose is taken already
};

/// Overwrites `matrix`, which serves LAPACK as working space. Throws `std::runtime_error` when elements are not finite
/// or the iteration does not converge.
template <class T>
Decomposition<T> decompose(const Elements<T>& matrix);

/// The values alone, which takes a fraction of the time. Overwrites `matrix` as well.
template <class T>
Matrix<double> singularValues(const Elements<T>& matrix);

/// Subtracts from every column its mean and returns the means, 1 x n.
template <class T>
Matrix<T> centreColumns(const Elements<T>& matrix);

} // namespace spectral
