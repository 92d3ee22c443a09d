#include <orvane/nanobind.hpp>

#include "bound_functions.hpp"
#include "converted_functions.hpp"

#include <nanobind/stl/complex.h>
#include <nanobind/stl/pair.h>
#include <nanobind/stl/variant.h>
#include <nanobind/stl/vector.h>

NB_MODULE(nanobind_client, module) {
    orvane::python::importOrvane();
    defineFunctions<nanobind::object>(module, [](PyObject* o) { return nanobind::steal(o); });
    defineConvertedFunctions(module);
}
