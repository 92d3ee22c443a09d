#include <orvane/pybind11.hpp>

#include "bound_functions.hpp"
#include "converted_functions.hpp"

#include <pybind11/complex.h>
#include <pybind11/stl.h>

PYBIND11_MODULE(pybind11_client, module) {
    orvane::python::importOrvane();
    defineFunctions<pybind11::object>(module,
                                      [](PyObject* o) { return pybind11::reinterpret_steal<pybind11::object>(o); });
    defineConvertedFunctions(module);
}
