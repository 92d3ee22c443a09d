#include "decomposition.hpp"

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <vector>

namespace {

using Complex = std::complex<double>;

} // namespace

extern "C" {
// LAPACK's divide-and-conquer drivers, as Fortran compilers name them. Matrices are column-major, as Orvane's are; `a`
// is overwritten.
void dgesdd_(const char* jobz, const int* m, const int* n, double* a, const int* lda, double* s, double* u,
             const int* ldu, double* vt, const int* ldvt, double* work, const int* lwork, int* iwork, int* info);
void zgesdd_(const char* jobz, const int* m, const int* n, Complex* a, const int* lda, double* s, Complex* u,
             const int* ldu, Complex* vt, const int* ldvt, Complex* work, const int* lwork, double* rwork, int* iwork,
             int* info);
}

namespace spectral {

namespace {

using orvane::data::ArrayFactory;
using orvane::data::writableElementsOf;

enum class Want : char { ValuesOnly = 'N', Vectors = 'S' };

/// The two drivers under one name.
void gesdd(Want want, int m, int n, double* a, int lda, double* s, double* u, int ldu, double* vt, int ldvt,
           double* work, int lwork, int* iwork, int* info) {
    const char jobz = static_cast<char>(want);
    dgesdd_(&jobz, &m, &n, a, &lda, s, u, &ldu, vt, &ldvt, work, &lwork, iwork, info);
}
void gesdd(Want want, int m, int n, Complex* a, int lda, double* s, Complex* u, int ldu, Complex* vt, int ldvt,
           Complex* work, int lwork, int* iwork, int* info) {
    const char jobz = static_cast<char>(want);
    const std::size_t small = static_cast<std::size_t>(std::min(m, n));
    const std::size_t large = static_cast<std::size_t>(std::max(m, n));
    // The sizes that LAPACK's documentation asks for.
    const std::size_t size =
        want == Want::ValuesOnly ? 7 * small : small * std::max(5 * small + 7, 2 * large + 2 * small + 1);
    std::vector<double> rwork(std::max<std::size_t>(1, size));
    zgesdd_(&jobz, &m, &n, a, &lda, s, u, &ldu, vt, &ldvt, work, &lwork, rwork.data(), iwork, info);
}

template <class T>
Decomposition<T> run(Want want, const Elements<T>& a) {
    const int m = static_cast<int>(a.extent(0));
    const int n = static_cast<int>(a.extent(1));
    const auto k = std::min(a.extent(0), a.extent(1));
    const int rowsOfRight = std::max(1, static_cast<int>(k));
    const int ldu = std::max(1, m);
    const int lda = n > 1 ? std::max(1, static_cast<int>(a.stride(1))) : ldu;

    ArrayFactory factory;
    const auto vectors = [&](std::size_t rows, std::size_t columns) {
        return want == Want::Vectors ? factory.createArray<T>({rows, columns}) : factory.createArray<T>({0, 0});
    };
    Decomposition<T> result{factory.createArray<double>({1, k}), vectors(a.extent(0), k), vectors(k, a.extent(1))};
    double* const values = writableElementsOf(result.values).data();
    T* const left = writableElementsOf(result.left).data();
    T* const right = writableElementsOf(result.right).data();

    std::vector<int> iwork(8 * k);
    int info = 0;
    const auto call = [&](T* work, int size) {
        gesdd(want, m, n, a.data(), lda, values, left, ldu, right, rowsOfRight, work, size, iwork.data(), &info);
    };
    T wantedSize{};
    call(&wantedSize, -1);
    std::vector<T> work(static_cast<std::size_t>(std::real(wantedSize)) + 1);
    call(work.data(), static_cast<int>(work.size()));

    // Drivers tell by a negative number that an argument is no good; the only one that can be is the matrix.
    if (info < 0) {
        throw std::runtime_error("the matrix has elements that are not finite");
    }
    if (info > 0) {
        throw std::runtime_error("the singular value decomposition did not converge");
    }
    return result;
}

} // namespace

template <class T>
Decomposition<T> decompose(const Elements<T>& matrix) {
    return run(Want::Vectors, matrix);
}

template <class T>
Matrix<double> singularValues(const Elements<T>& matrix) {
    return run(Want::ValuesOnly, matrix).values;
}

template <class T>
Matrix<T> centreColumns(const Elements<T>& elements) {
    Matrix<T> means = ArrayFactory().createArray<T>({1, elements.extent(1)});
    const auto meansOfColumns = writableElementsOf(means);
    for (std::size_t j = 0; j < elements.extent(1); ++j) {
        const auto column = elements.column(j);
        T sum{};
        for (const T& element : column) {
            sum += element;
        }
        const T mean = column.empty() ? T{} : sum / static_cast<double>(column.size());
        for (T& element : column) {
            element -= mean;
        }
        meansOfColumns(0, j) = mean;
    }
    return means;
}

template Decomposition<double> decompose(const Elements<double>&);
template Decomposition<Complex> decompose(const Elements<Complex>&);
template Matrix<double> singularValues(const Elements<double>&);
template Matrix<double> singularValues(const Elements<Complex>&);
template Matrix<double> centreColumns(const Elements<double>&);
template Matrix<Complex> centreColumns(const Elements<Complex>&);

} // namespace spectral
