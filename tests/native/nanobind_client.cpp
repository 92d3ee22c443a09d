#include <orvane/nanobind.hpp>

#include "bound_functions.hpp"

#include <nanobind/stl/complex.h>
#include <nanobind/stl/variant.h>

NB_MODULE(nanobind_client, module) {
    orvane::python::importOrvane();
    defineFunctions<nanobind::object>(module, [](PyObject* o) { return nanobind::steal(o); });
}
