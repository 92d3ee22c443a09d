#include "moments.hpp"

#include <algorithm>
#include <cmath>
#include <complex>
#include <vector>

namespace {

using Complex = std::complex<double>;

} // namespace

extern "C" {
// The products of a matrix with itself, of BLAS.
void dsyrk_(const char* uplo, const char* trans, const int* n, const int* k, const double* alpha, const double* a,
            const int* lda, const double* beta, double* c, const int* ldc);
void zherk_(const char* uplo, const char* trans, const int* n, const int* k, const double* alpha, const Complex* a,
            const int* lda, const double* beta, Complex* c, const int* ldc);
}

namespace spectral {

namespace {

using orvane::data::ArrayFactory;
using orvane::data::ColumnMajorSpan;
using orvane::data::elementsOf;
using orvane::data::writableElementsOf;

template <class T>
using ReadElements = ColumnMajorSpan<const T, 2>;

/// Rows that are centred at a time: they stay in the processor's caches until they are multiplied.
constexpr std::size_t rowsOfPanel = 256;

double conjugate(double number) {
    return number;
}
Complex conjugate(Complex number) {
    return std::conj(number);
}

/// Adds the conjugate transpose of a panel times the panel, in the upper triangle.
void addProducts(int rows, int columns, const double* panel, int stride, double* products, int strideOfProducts) {
    const double one = 1;
    dsyrk_("U", "T", &columns, &rows, &one, panel, &stride, &one, products, &strideOfProducts);
}
void addProducts(int rows, int columns, const Complex* panel, int stride, Complex* products, int strideOfProducts) {
    const double one = 1;
    zherk_("U", "C", &columns, &rows, &one, panel, &stride, &one, products, &strideOfProducts);
}

} // namespace

template <class T>
Matrix<T> moments(const ReadElements<T>& observations) {
    const std::size_t rows = observations.extent(0);
    const std::size_t columns = observations.extent(1);
    Matrix<T> result = ArrayFactory().createArray<T>({columns + 1, columns + 1});
    const auto to = writableElementsOf(result);
    to(0, 0) = static_cast<double>(rows);
    if (rows == 0 || columns == 0) {
        return result;
    }
    for (std::size_t j = 0; j < columns; ++j) {
        T sum{};
        for (std::size_t i = 0; i < rows; ++i) {
            sum += observations(i, j);
        }
        to(0, j + 1) = sum / static_cast<double>(rows);
    }
    std::vector<T> panel(rowsOfPanel * columns);
    for (std::size_t start = 0; start < rows; start += rowsOfPanel) {
        const std::size_t count = std::min(rowsOfPanel, rows - start);
        for (std::size_t j = 0; j < columns; ++j) {
            const T mean = to(0, j + 1);
            for (std::size_t i = 0; i < count; ++i) {
                panel[j * rowsOfPanel + i] = observations(start + i, j) - mean;
            }
        }
        addProducts(static_cast<int>(count), static_cast<int>(columns), panel.data(), static_cast<int>(rowsOfPanel),
                    &to(1, 1), static_cast<int>(columns + 1));
    }
    for (std::size_t j = 1; j <= columns; ++j) {
        for (std::size_t i = j + 1; i <= columns; ++i) {
            to(i, j) = conjugate(to(j, i));
        }
    }
    return result;
}

template <class T>
Matrix<T> mergeMoments(const ReadElements<T>& some, const ReadElements<T>& others) {
    const std::size_t size = some.extent(0);
    Matrix<T> result = ArrayFactory().createArray<T>({size, size});
    const auto to = writableElementsOf(result);
    const double count = std::real(some(0, 0)) + std::real(others(0, 0));
    const double share = count == 0 ? 0 : std::real(others(0, 0)) / count;
    to(0, 0) = count;
    for (std::size_t j = 1; j < size; ++j) {
        to(0, j) = some(0, j) + (others(0, j) - some(0, j)) * share;
    }
    const double weight = std::real(some(0, 0)) * share;
    for (std::size_t j = 1; j < size; ++j) {
        const T difference = others(0, j) - some(0, j);
        for (std::size_t i = 1; i < size; ++i) {
            to(i, j) = some(i, j) + others(i, j) + conjugate(others(0, i) - some(0, i)) * difference * weight;
        }
    }
    return result;
}

template <class T>
Components<T> componentsOf(const ReadElements<T>& moments, std::size_t count) {
    const std::size_t columns = moments.extent(0) - 1;
    ArrayFactory factory;
    Components<T> result{factory.createArray<T>({1, columns}), factory.createArray<T>({0, 0}),
                         factory.createArray<double>({1, count})};
    Matrix<T> products = factory.createArray<T>({columns, columns});
    const auto means = writableElementsOf(result.means);
    const Elements<T> square = writableElementsOf(products);
    for (std::size_t j = 0; j < columns; ++j) {
        means(0, j) = moments(0, j + 1);
        for (std::size_t i = 0; i < columns; ++i) {
            square(i, j) = moments(i + 1, j + 1);
        }
    }
    // The products are right * diag(values * values) * right, which is a decomposition of both kinds.
    const auto [values, left, right] = decompose(square);
    result.components = topRows(right, count);
    const auto squares = elementsOf(values);
    const auto roots = writableElementsOf(result.values);
    for (std::size_t k = 0; k < count; ++k) {
        roots(0, k) = std::sqrt(squares(0, k));
    }
    return result;
}

template <class T>
Matrix<T> topRows(const Matrix<T>& matrix, std::size_t count) {
    const auto from = elementsOf(matrix);
    Matrix<T> rows = ArrayFactory().createArray<T>({count, from.extent(1)});
    const auto to = writableElementsOf(rows);
    for (std::size_t j = 0; j < from.extent(1); ++j) {
        std::ranges::copy(from.column(j).first(count), to.column(j).begin());
    }
    return rows;
}

template Matrix<double> moments(const ReadElements<double>&);
template Matrix<Complex> moments(const ReadElements<Complex>&);
template Matrix<double> mergeMoments(const ReadElements<double>&, const ReadElements<double>&);
template Matrix<Complex> mergeMoments(const ReadElements<Complex>&, const ReadElements<Complex>&);
template Components<double> componentsOf(const ReadElements<double>&, std::size_t);
template Components<Complex> componentsOf(const ReadElements<Complex>&, std::size_t);
template Matrix<double> topRows(const Matrix<double>&, std::size_t);
template Matrix<Complex> topRows(const Matrix<Complex>&, std::size_t);

} // namespace spectral
