// The Python module `spectral`: orvane.double matrices in, orvane.double arrays out.
#include "decomposition.hpp"
#include "moments.hpp"

#include <orvane/python.hpp>

#include <algorithm>
#include <complex>
#include <cstddef>
#include <limits>
#include <tuple>
#include <type_traits>
#include <utility>

namespace {

namespace python = orvane::python;
using orvane::data::ColumnMajorSpan;
using orvane::data::elementsOf;
using orvane::data::writableElementsOf;
using python::Reference;
using spectral::Elements;
using spectral::Matrix;
using Complex = std::complex<double>;

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

/// Elements of two dimensions as LAPACK takes them.
template <class T>
Elements<T> matrixOf(const ColumnMajorSpan<T>& elements) {
    if (elements.rank() != 2) {
        refuse("a matrix has two dimensions");
    }
    const bool hasColumns = (elements.stride(0) == 1 || elements.extent(0) <= 1) &&
                            (elements.stride(1) >= static_cast<std::ptrdiff_t>(elements.extent(0)) ||
                             elements.extent(1) <= 1 || elements.extent(0) == 0);
    if (!hasColumns) {
        refuse("LAPACK works in place on whole columns or on neighbouring rows");
    }
    constexpr std::size_t most = std::numeric_limits<int>::max();
    if (std::max({elements.extent(0), elements.extent(1), static_cast<std::size_t>(elements.stride(1))}) > most) {
        refuse("the matrix is too large for LAPACK");
    }
    return elements;
}

/// What Python passes.
struct Arguments {
    PyObject* object = nullptr;
    Py_ssize_t count = 0; ///< of components, where the function has it
    int overwrite = 0;
};

/// Calls `compute` with the elements of the matrix, real or complex, which it may do with as it likes: a copy, or, with
/// `overwrite`, those that Python has.
template <class Compute>
Reference withMatrix(const Arguments& arguments, Compute compute) {
    const auto with = [&]<class T>(std::type_identity<T>) {
        if (arguments.overwrite != 0) {
            const auto loan = python::lendWritableElements<T>(arguments.object);
            return compute(matrixOf<T>(loan));
        }
        auto copy = python::copyFromPython<T>(arguments.object);
        return compute(matrixOf<T>(writableElementsOf(copy)));
    };
    return python::isArray<Complex>(arguments.object) ? with(std::type_identity<Complex>())
                                                      : with(std::type_identity<double>());
}

/// As `compute()`, while other Python threads run.
template <class Compute>
auto withoutLock(Compute compute) {
    const python::WithoutInterpreterLock unlocked;
    return compute();
}

bool parse(PyObject* args, PyObject* keywords, const char* format, Arguments& arguments) {
    static const char* names[] = {"matrix", "overwrite", nullptr};
    return PyArg_ParseTupleAndKeywords(args, keywords, format, const_cast<char**>(names), &arguments.object,
                                       &arguments.overwrite) != 0;
}

PyObject* singularValues(PyObject*, PyObject* args, PyObject* keywords) {
    Arguments arguments;
    if (!parse(args, keywords, "O|$p:singular_values", arguments)) {
        return nullptr;
    }
    return python::guarded([&] {
        return withMatrix(arguments, []<class T>(const Elements<T>& matrix) {
            return python::toPython(withoutLock([&] { return spectral::singularValues(matrix); }));
        });
    });
}

PyObject* svd(PyObject*, PyObject* args, PyObject* keywords) {
    Arguments arguments;
    if (!parse(args, keywords, "O|$p:svd", arguments)) {
        return nullptr;
    }
    return python::guarded([&] {
        return withMatrix(arguments, []<class T>(const Elements<T>& matrix) {
            auto [values, left, right] = withoutLock([&] { return spectral::decompose(matrix); });
            return tupleOf(std::move(left), std::move(values), std::move(right));
        });
    });
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

PyObject* principalComponents(PyObject*, PyObject* args, PyObject* keywords) {
    static const char* names[] = {"matrix", "count", "overwrite", nullptr};
    Arguments arguments;
    if (PyArg_ParseTupleAndKeywords(args, keywords, "On|$p:principal_components", const_cast<char**>(names),
                                    &arguments.object, &arguments.count, &arguments.overwrite) == 0) {
        return nullptr;
    }
    return python::guarded([&] {
        return withMatrix(arguments, [&]<class T>(const Elements<T>& matrix) {
            const Py_ssize_t wanted = arguments.count;
            if (wanted < 0 || static_cast<std::size_t>(wanted) > std::min(matrix.extent(0), matrix.extent(1))) {
                refuse("there are not that many components");
            }
            const auto count = static_cast<std::size_t>(wanted);
            auto [means, components, scores] = withoutLock([&] {
                Matrix<T> meansOfColumns = spectral::centreColumns(matrix);
                const auto [values, left, right] = spectral::decompose(matrix);
                return std::tuple(std::move(meansOfColumns), spectral::topRows(right, count),
                                  scaledColumns(left, values, count));
            });
            return tupleOf(std::move(means), std::move(components), std::move(scores));
        });
    });
}

/// Elements of two dimensions, lent for reading while it lives.
template <class T>
class LentMatrix {
public:
    explicit LentMatrix(PyObject* object) : m_elements(python::lendElements<T>(object)) {
        if (m_elements.rank() != 2) {
            refuse("a matrix has two dimensions");
        }
    }
    ColumnMajorSpan<const T, 2> span() const { return m_elements.span(); }

private:
    python::LentElements<const T> m_elements;
};

/// The same of a matrix that `moments` has given.
template <class T>
ColumnMajorSpan<const T, 2> momentsOf(const LentMatrix<T>& matrix) {
    if (matrix.span().extent(0) == 0 || matrix.span().extent(0) != matrix.span().extent(1)) {
        refuse("moments are a square matrix");
    }
    return matrix.span();
}

/// Calls `compute` for the type of the elements of an array, real or complex.
template <class Compute>
Reference forElementsOf(PyObject* object, Compute compute) {
    return python::isArray<Complex>(object) ? compute(std::type_identity<Complex>())
                                            : compute(std::type_identity<double>());
}

PyObject* moments(PyObject*, PyObject* observations) {
    return python::guarded([&] {
        return forElementsOf(observations, [&]<class T>(std::type_identity<T>) {
            const LentMatrix<T> matrix(observations);
            const auto elements = matrix.span();
            constexpr std::size_t most = std::numeric_limits<int>::max();
            if (elements.extent(1) >= most) {
                refuse("the matrix is too large for BLAS");
            }
            return python::toPython(withoutLock([&] { return spectral::moments<T>(elements); }));
        });
    });
}

PyObject* mergeMoments(PyObject*, PyObject* args) {
    PyObject* some = nullptr;
    PyObject* others = nullptr;
    if (PyArg_ParseTuple(args, "OO:merge_moments", &some, &others) == 0) {
        return nullptr;
    }
    return python::guarded([&] {
        return forElementsOf(some, [&]<class T>(std::type_identity<T>) {
            const LentMatrix<T> one(some);
            const LentMatrix<T> other(others);
            const auto a = momentsOf(one);
            const auto b = momentsOf(other);
            if (a.extent(0) != b.extent(0)) {
                refuse("the moments are of different numbers of variables");
            }
            return python::toPython(withoutLock([&] { return spectral::mergeMoments<T>(a, b); }));
        });
    });
}

PyObject* componentsOfMoments(PyObject*, PyObject* args, PyObject* keywords) {
    static const char* names[] = {"moments", "count", nullptr};
    Arguments arguments;
    if (PyArg_ParseTupleAndKeywords(args, keywords, "On:components_of_moments", const_cast<char**>(names),
                                    &arguments.object, &arguments.count) == 0) {
        return nullptr;
    }
    return python::guarded([&] {
        return forElementsOf(arguments.object, [&]<class T>(std::type_identity<T>) {
            const LentMatrix<T> matrix(arguments.object);
            const auto elements = momentsOf(matrix);
            const Py_ssize_t wanted = arguments.count;
            if (wanted < 0 || static_cast<std::size_t>(wanted) >= elements.extent(0)) {
                refuse("there are not that many components");
            }
            auto [means, components, values] =
                withoutLock([&] { return spectral::componentsOf<T>(elements, static_cast<std::size_t>(wanted)); });
            return tupleOf(std::move(means), std::move(components), std::move(values));
        });
    });
}

PyCFunction asMethod(PyCFunctionWithKeywords function) {
    return reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(function));
}

constexpr int withKeywords = METH_VARARGS | METH_KEYWORDS;

PyMethodDef methods[] = {
    {"singular_values", asMethod(singularValues), withKeywords,
     "singular_values(matrix, *, overwrite=False)\n\n"
     "The singular values of an orvane.double matrix, real or complex: 1 x k, descending.\n"
     "With overwrite, LAPACK works on the elements of the matrix itself, which are spent afterwards."},
    {"svd", asMethod(svd), withKeywords,
     "svd(matrix, *, overwrite=False)\n\n"
     "(left, values, right) with matrix = left * diag(values) * right; k = min(m, n) columns and rows."},
    {"principal_components", asMethod(principalComponents), withKeywords,
     "principal_components(matrix, count, *, overwrite=False)\n\n"
     "(means, components, scores) of observations in rows: the row i of the matrix is nearest to\n"
     "means + scores[i] * components, with means 1 x n, components count x n, scores m x count."},
    {"moments", moments, METH_O,
     "moments(matrix)\n\n"
     "What principal components need to know of observations in rows, (n + 1) x (n + 1): in the first row\n"
     "their number and means, below it the sums of products of deviations from the means."},
    {"merge_moments", mergeMoments, METH_VARARGS,
     "merge_moments(some, others)\n\n"
     "The moments of all observations, of those of some and those of the others."},
    {"components_of_moments", asMethod(componentsOfMoments), withKeywords,
     "components_of_moments(moments, count)\n\n"
     "(means, components, values) as by principal_components; values, 1 x count, are the singular values\n"
     "of the centred observations."},
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
