// The singular value decomposition of matrices whose elements are Orvane's. Knows nothing of Python.
#pragma once

#include <orvane/data.hpp>

#include <complex>

namespace spectral {

template <class T>
using Matrix = orvane::data::TypedArray<T>;

/// matrix = left * diag(values) * right, with k = min(m, n) columns in `left` (m x k) and rows in `right` (k x n).
template <class T>
struct Decomposition {
    Matrix<double> values; ///< 1 x k, descending
    Matrix<T> left;
    Matrix<T> right; ///< for complex matrices the conjugate transpose is taken already
};

/// `T` is `double` or `std::complex<double>`. `matrix` has two dimensions that fit an `int`; its block serves LAPACK as
/// working space, so elements are copied only when others share it. Throws `std::runtime_error` when elements are not
/// finite or the iteration does not converge.
template <class T>
Decomposition<T> decompose(Matrix<T> matrix);

/// The values alone, which takes a fraction of the time.
template <class T>
Matrix<double> singularValues(Matrix<T> matrix);

/// Subtracts from every column its mean and returns the means, 1 x n. What shares `matrix` keeps the old elements.
template <class T>
Matrix<T> centreColumns(Matrix<T>& matrix);

} // namespace spectral
