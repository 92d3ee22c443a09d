#include <orvane/pybind11.hpp>

#include "bound_functions.hpp"

PYBIND11_MODULE(pybind11_client, module) {
    defineFunctions(module);
}
