// Functions over vectors and Eigen's matrices, for a binding library to bind; its casters are included before this.
#pragma once

#include <algorithm>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#if __has_include(<Eigen/Core>)
#include <orvane/eigen.hpp>
#endif

template <class Elements>
std::uintptr_t addressOf(const Elements& elements) {
    return reinterpret_cast<std::uintptr_t>(elements.data());
}

inline std::uintptr_t returnedAddress = 0; ///< where the elements of the latest result lay

template <class Elements>
Elements returned(Elements&& elements) {
    returnedAddress = addressOf(elements);
    return std::move(elements);
}

template <class Module>
void defineConvertedFunctions(Module& module) {
    module.def("returned_address", [] { return returnedAddress; });
    module.def("doubled_in_place", [](orvane::python::ArrayObject<double> array) {
        const auto elements = array.lendWritable();
        for (std::size_t i = 0; i < elements.extent(0); ++i) {
            elements.data()[static_cast<std::ptrdiff_t>(i) * elements.stride(0)] *= 2;
        }
        return array;
    });
    module.def("nothing", [] { return orvane::python::ArrayObject<double>(); });
    module.def("sizes", [](const std::vector<orvane::data::ColumnMajorSpan<const double, 2>>& spans) {
        std::vector<std::size_t> sizes;
        for (const auto& span : spans) {
            sizes.push_back(span.size());
        }
        return sizes;
    });
    module.def("sorted", [](orvane::python::Vector<double> vector) {
        std::sort(vector.begin(), vector.end());
        return returned(std::move(vector));
    });
    module.def("in_columns", [](orvane::python::Vector<double> vector, std::size_t rows) {
        const std::size_t columns = vector.size() / rows;
        return orvane::python::Vector<double>(std::move(vector), {rows, columns});
    });
#if __has_include(<Eigen/Core>)
    using namespace Eigen;
    using Any = Stride<Dynamic, Dynamic>;
    module.def("scale_map", [](Map<MatrixXd> matrix) { matrix *= 2; });
    module.def("scale_ref", [](Ref<MatrixXd> matrix) { matrix *= 2; });
    module.def("scale_any",
               [](const Ref<MatrixXd, 0, Any>& matrix) { const_cast<Ref<MatrixXd, 0, Any>&>(matrix) *= 2; });
    module.def("scale_line", [](Map<RowVectorXd, 0, InnerStride<>> line) { line *= 2; });
    module.def("read_map",
               [](const Map<const MatrixXd>& matrix) { return std::pair(addressOf(matrix), matrix.sum()); });
    module.def("read_ref",
               [](const Ref<const MatrixXd>& matrix) { return std::pair(addressOf(matrix), matrix.sum()); });
    module.def("read_line", [](const Ref<const VectorXd>& line) { return std::pair(addressOf(line), line.sum()); });
    module.def("transposed", [](const MatrixXd& matrix) { return returned(MatrixXd(matrix.transpose())); });
    using Fixed = Matrix<std::complex<float>, 2, 3>;
    module.def("conjugated", [](Fixed matrix) { return Fixed(matrix.conjugate()); });
    module.def("small", [](const Matrix<double, Dynamic, Dynamic, 0, 2, 2>& matrix) { return matrix.sum(); });
    module.def("short", [](Map<const Matrix<double, Dynamic, 1, 0, 2, 1>> line) { return line.sum(); });
    module.def("reversed", [](const Vector3i& vector) { return Vector3i(vector.reverse()); });
    module.def("flipped",
               [](const Eigen::Array<bool, 1, Dynamic>& row) { return Eigen::Array<bool, 1, Dynamic>(!row); });
    using orvane::data::ColumnMajorSpan;
    module.def("total", [](ColumnMajorSpan<const double> span) { return orvane::python::eigenMap(span).sum(); });
#endif
}
