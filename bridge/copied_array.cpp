#include "functions.hpp"

#include <cstddef>
#include <type_traits>

namespace orvane::bridge {

namespace {

template <class T>
python::Reference copyAs(PyObject* array) {
    return python::toPython(python::copyFromPython<T>(array));
}

using Copy = python::Reference (*)(PyObject*);

/// By the number of an element kind.
constexpr auto copies = tableByArrayType<Copy>([]<class T>() consteval -> Copy {
    if constexpr (python::PythonElement<T>) {
        return copyAs<T>;
    } else {
        return nullptr;
    }
});

} // namespace

PyObject* copy(PyObject*, PyObject* array) {
    return python::guarded([&] {
        const int kind = exchange->kindOf(array);
        if (kind < 0) {
            PyErr_Format(PyExc_TypeError, "expected an orvane array, got %s", Py_TYPE(array)->tp_name);
            throw python::PythonError();
        }
        return copies[static_cast<std::size_t>(kind)](array);
    });
}

} // namespace orvane::bridge
