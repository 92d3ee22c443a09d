#include "protocol/pickling.hpp"

#include "core/array_object.hpp"
#include "protocol/nested_list.hpp"
#include "vocabulary/boundary.hpp"
#include "vocabulary/py_ref.hpp"
#include "vocabulary/python_values.hpp"

namespace orvane::python {

PyObject* OCPyArray_Reduce(PyObject* self, PyObject*) {
    const OCppPyArray* core = requireCoreArray(self);
    if (core == nullptr)
        return nullptr;
    const PyRef keywords = PyRef::steal(PyDict_New());
    if (!keywords)
        return nullptr;
    if (core->isComplex() && PyDict_SetItemString(keywords.get(), "is_complex", Py_True) == -1) {
        replaceError(PyExc_RuntimeError, "unable to insert 'is_complex' value into dict.");
        return nullptr;
    }
    const PyRef elements = PyRef::steal(withMemoryErrors(
        static_cast<PyObject*>(nullptr), [&] { return toNestedPyList(*core, selectionIgnoringSlice(*core)); }));
    if (!elements)
        return nullptr;
    const PyRef arguments = PyRef::steal(PyTuple_Pack(2, keywords.get(), elements.get()));
    if (!arguments)
        return nullptr;
    return PyTuple_Pack(2, TypeObjectPointers[core->supportedArrayEnum()], arguments.get());
}

} // namespace orvane::python
