// A Python module whose one function runs the benchmarks that are linked into it.
#include <Python.h>

#include <vector>

#include <benchmark/benchmark.h>

namespace {

/// run(arguments): takes Google Benchmark's own command-line arguments; 0 when all was understood.
PyObject* run(PyObject*, PyObject* arguments) {
    char name[] = "orvane_inside_benchmarks";
    std::vector<char*> argv{name};
    const Py_ssize_t given = PyList_Size(arguments);
    if (given < 0)
        return nullptr;
    for (Py_ssize_t i = 0; i < given; ++i) {
        const char* argument = PyUnicode_AsUTF8(PyList_GET_ITEM(arguments, i));
        if (argument == nullptr)
            return nullptr;
        argv.push_back(const_cast<char*>(argument));
    }
    int argc = static_cast<int>(argv.size());
    argv.push_back(nullptr);
    benchmark::Initialize(&argc, argv.data());
    if (benchmark::ReportUnrecognizedArguments(argc, argv.data()))
        return PyLong_FromLong(1);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return PyLong_FromLong(0);
}

PyMethodDef functions[] = {{"run", run, METH_O, "Runs the benchmarks."}, {nullptr, nullptr, 0, nullptr}};
PyModuleDef definition = {
    PyModuleDef_HEAD_INIT, "orvane_inside_benchmarks", nullptr, -1, functions, nullptr, nullptr, nullptr, nullptr};

} // namespace

PyMODINIT_FUNC PyInit_orvane_inside_benchmarks() {
    return PyModule_Create(&definition);
}
