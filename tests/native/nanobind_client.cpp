#include <orvane/nanobind.hpp>

#include "bound_functions.hpp"

NB_MODULE(nanobind_client, module) {
    defineFunctions(module);
}
