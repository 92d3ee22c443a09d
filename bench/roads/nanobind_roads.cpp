// The ways in and out with nanobind: our arrays, and beside them NumPy's as `nb::ndarray`.
#include <orvane/nanobind.hpp>

#include "work.hpp"

#include <nanobind/ndarray.h>

namespace nb = nanobind;

namespace {

using Array = nb::ndarray<nb::numpy, double, nb::ndim<2>, nb::f_contig>;
using ReadOnly = nb::ndarray<const double, nb::ndim<2>>;

Array newPeer(std::size_t rows, std::size_t columns, std::unique_ptr<double[]> block) {
    double* const first = block.get();
    nb::capsule owner(first, [](void* elements) noexcept { delete[] static_cast<double*>(elements); });
    static_cast<void>(block.release());
    return Array(first, {rows, columns}, owner, {1, static_cast<std::int64_t>(rows)});
}

} // namespace

NB_MODULE(orvane_nanobind_roads, module) {
    orvane::python::importOrvane();
    roads::defineOurs(module);

    module.def("peer_way_in", [](const ReadOnly& matrix) { return *matrix.data(); });
    module.def("peer_way_in_any_rank", [](const nb::ndarray<const double>& array) { return *array.data(); });
    module.def("peer_out", [](std::size_t rows, std::size_t columns) {
        std::unique_ptr<double[]> block(new double[rows * columns]);
        roads::fill(block.get(), rows * columns);
        return newPeer(rows, columns, std::move(block));
    });
    module.def("peer_identity", [](Array array) { return array; });
    module.def("peer_halve", [](const Array& matrix) { roads::halve(matrix.data(), matrix.size()); });
    module.def("peer_halved", [](const Array& matrix) {
        std::unique_ptr<double[]> block(new double[matrix.size()]);
        roads::halveTo(block.get(), matrix.data(), matrix.size());
        return newPeer(matrix.shape(0), matrix.shape(1), std::move(block));
    });
    module.def("peer_halved_copy", [](const Array& matrix) {
        std::unique_ptr<double[]> block(new double[matrix.size()]);
        std::copy_n(matrix.data(), matrix.size(), block.get());
        roads::halve(block.get(), matrix.size());
        return newPeer(matrix.shape(0), matrix.shape(1), std::move(block));
    });
}
