// The ways in and out with pybind11: our arrays, and beside them NumPy's as `py::array_t`.
#include <orvane/pybind11.hpp>

#include "work.hpp"

#include <pybind11/numpy.h>

namespace py = pybind11;

namespace {

using Array = py::array_t<double, py::array::f_style>;

Array newPeer(std::size_t rows, std::size_t columns) {
    return Array({rows, columns});
}

} // namespace

PYBIND11_MODULE(orvane_pybind11_roads, module) {
    orvane::python::importOrvane();
    roads::defineOurs(module);

    // Views of NumPy's that are not column-major are copied by `f_style`; without it they come as they are.
    module.def("peer_way_in", [](const py::array_t<double>& matrix) { return *matrix.data(); });
    module.def("peer_way_in_any_rank", [](const py::array_t<double>& array) { return *array.data(); });
    module.def("peer_out", [](std::size_t rows, std::size_t columns) {
        Array result = newPeer(rows, columns);
        roads::fill(result.mutable_data(), rows * columns);
        return result;
    });
    module.def("peer_identity", [](Array array) { return array; });
    module.def("peer_halve",
               [](Array matrix) { roads::halve(matrix.mutable_data(), static_cast<std::size_t>(matrix.size())); });
    module.def("peer_halved", [](const Array& matrix) {
        Array result = newPeer(static_cast<std::size_t>(matrix.shape(0)), static_cast<std::size_t>(matrix.shape(1)));
        roads::halveTo(result.mutable_data(), matrix.data(), static_cast<std::size_t>(matrix.size()));
        return result;
    });
    module.def("peer_halved_copy", [](const Array& matrix) {
        Array copy = newPeer(static_cast<std::size_t>(matrix.shape(0)), static_cast<std::size_t>(matrix.shape(1)));
        const auto count = static_cast<std::size_t>(matrix.size());
        std::copy_n(matrix.data(), count, copy.mutable_data());
        roads::halve(copy.mutable_data(), count);
        return copy;
    });
}
