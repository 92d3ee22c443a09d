// The Python module `spectral`: orvane.double matrices in, orvane.double arrays out.
#include "decomposition.hpp"

#include <orvane/python.hpp>

#include <algorithm>
#include <complex>
#include <cstddef>
#include <limits>
#include <tuple>
#include <utility>

namespace {

namespace python = orvane::python;
using orvane::data::elementsOf;
using orvane::data::writableElementsOf;
using python::Reference;
using spectral::Matrix;

[[noreturn]] void refuse(const char* message) {
    PyErr_SetString(PyExc_ValueError, message);
    throw python::PythonError();
}

/// A tuple of arrays, each of which is handed over.
template <class... Array>
Reference tupleOf(Array... array) {
    Reference tuple(PyTuple_New(sizeof...(Array)));
    Py_ssize_t position = 0;
    if (tuple) {
        (PyTuple_SET_ITEM(tuple.get(), position++, python::toPython(std::move(array)).release()), ...);
    }
    return tuple;
}

/// Calls `compute` with a copy of the matrix in `object`, real or complex, which it may do with as it likes.
template <class Compute>
Reference withMatrix(PyObject* object, Compute compute) {
    const auto checked = [&]<class T>(Matrix<T> matrix) {
        const auto extents = matrix.getDimensions();
        if (extents.size() != 2) {
            refuse("a matrix has two dimensions");
        }
        if (std::ranges::max(extents) > static_cast<unsigned long>(std::numeric_limits<int>::max())) {
            refuse("the matrix is too large for LAPACK");
        }
        matrix.unshare();
        return compute(std::move(matrix));
    };
    if (auto complex = python::tryFromPython<std::complex<double>>(object)) {
        return checked(*std::move(complex));
    }
    return checked(python::fromPython<double>(object));
}

PyObject* singularValues(PyObject*, PyObject* object) {
    return python::guarded([&] {
        return withMatrix(object, []<class T>(Matrix<T> matrix) {
            const auto compute = [&] {
                const python::WithoutInterpreterLock unlocked;
                return spectral::singularValues(std::move(matrix));
            };
            return python::toPython(compute());
        });
    });
}

PyObject* svd(PyObject*, PyObject* object) {
    return python::guarded([&] {
        return withMatrix(object, []<class T>(Matrix<T> matrix) {
            const auto compute = [&] {
                const python::WithoutInterpreterLock unlocked;
                return spectral::decompose(std::move(matrix));
            };
            auto [values, left, right] = compute();
            return tupleOf(std::move(left), std::move(values), std::move(right));
        });
    });
}

/// The first `count` rows.
template <class T>
Matrix<T> topRows(const Matrix<T>& matrix, std::size_t count) {
    const auto from = elementsOf(matrix);
    Matrix<T> rows = orvane::data::ArrayFactory().createArray<T>({count, from.extent(1)});
    const auto to = writableElementsOf(rows);
    for (std::size_t j = 0; j < from.extent(1); ++j) {
        std::ranges::copy(from.column(j).first(count), to.column(j).begin());
    }
    return rows;
}

/// The first `count` columns, each times its value.
template <class T>
Matrix<T> scaledColumns(const Matrix<T>& matrix, const Matrix<double>& values, std::size_t count) {
    const auto from = elementsOf(matrix);
    const auto factors = elementsOf(values);
    Matrix<T> columns = orvane::data::ArrayFactory().createArray<T>({from.extent(0), count});
    const auto to = writableElementsOf(columns);
    for (std::size_t j = 0; j < count; ++j) {
        std::ranges::transform(from.column(j), to.column(j).begin(),
                               [factor = factors(0, j)](const T& element) { return element * factor; });
    }
    return columns;
}

PyObject* principalComponents(PyObject*, PyObject* args) {
    PyObject* object = nullptr;
    Py_ssize_t wanted = 0;
    if (PyArg_ParseTuple(args, "On:principal_components", &object, &wanted) == 0) {
        return nullptr;
    }
    return python::guarded([&] {
        return withMatrix(object, [&]<class T>(Matrix<T> matrix) {
            const auto extents = matrix.getDimensions();
            if (wanted < 0 || static_cast<std::size_t>(wanted) > std::min(extents[0], extents[1])) {
                refuse("there are not that many components");
            }
            const auto count = static_cast<std::size_t>(wanted);
            const auto compute = [&] {
                const python::WithoutInterpreterLock unlocked;
                Matrix<T> means = spectral::centreColumns(matrix);
                auto [values, left, right] = spectral::decompose(std::move(matrix));
                return std::tuple(std::move(means), topRows(right, count), scaledColumns(left, values, count));
            };
            auto [means, components, scores] = compute();
            return tupleOf(std::move(means), std::move(components), std::move(scores));
        });
    });
}

PyMethodDef methods[] = {
    {"singular_values", singularValues, METH_O,
     "singular_values(matrix)\n\nThe singular values of an orvane.double matrix, real or complex: 1 x k, descending."},
    {"svd", svd, METH_O,
     "svd(matrix)\n\n(left, values, right) with matrix = left * diag(values) * right; k = min(m, n) columns and rows."},
    {"principal_components", principalComponents, METH_VARARGS,
     "principal_components(matrix, count)\n\n(means, components, scores) of observations in rows: the row i of the "
     "matrix "
     "is\nnearest to means + scores[i] * components, with means 1 x n, components count x n, scores m x count."},
    {nullptr, nullptr, 0, nullptr},
};

PyModuleDef definition = {PyModuleDef_HEAD_INIT,
                          "spectral",
                          "Singular values and principal components by LAPACK.",
                          -1,
                          methods,
                          nullptr,
                          nullptr,
                          nullptr,
                          nullptr};

} // namespace

PyMODINIT_FUNC PyInit_spectral() {
    return PyModule_Create(&definition);
}
