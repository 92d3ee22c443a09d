// A Python module whose one function runs the tests that are linked into it.
#include <Python.h>

#include <gtest/gtest.h>

namespace {

PyObject* run(PyObject*, PyObject*) {
    int argc = 1;
    char name[] = "orvane_core_tests";
    char* argv[] = {name, nullptr};
    testing::InitGoogleTest(&argc, argv);
    return PyLong_FromLong(RUN_ALL_TESTS());
}

PyMethodDef functions[] = {{"run", run, METH_NOARGS, "Runs all tests; 0 when they pass."},
                           {nullptr, nullptr, 0, nullptr}};
PyModuleDef definition = {
    PyModuleDef_HEAD_INIT, "orvane_core_tests", nullptr, -1, functions, nullptr, nullptr, nullptr, nullptr};

} // namespace

PyMODINIT_FUNC PyInit_orvane_core_tests() {
    return PyModule_Create(&definition);
}
