#include "protocol/attributes.hpp"

#include "core/array_object.hpp"
#include "protocol/methods.hpp"
#include "vocabulary/boundary.hpp"
#include "vocabulary/py_ref.hpp"
#include "vocabulary/python_values.hpp"

namespace orvane::python {

namespace {

PyObject* tupleOf(const Extents& extents) {
    PyRef tuple = PyRef::steal(PyTuple_New(static_cast<Py_ssize_t>(extents.size())));
    for (std::size_t d = 0; tuple && d < extents.size(); ++d) {
        PyObject* const extent = makePyObjectFromLong(extents[d]);
        if (extent == nullptr)
            return nullptr;
        PyTuple_SET_ITEM(tuple.get(), static_cast<Py_ssize_t>(d), extent);
    }
    return tuple.release();
}

} // namespace

PyObject* OCPyArray_GetArraySize(PyObject* self, void*) {
    const OCppPyArray* core = requireCoreArray(self);
    if (core == nullptr)
        return nullptr;
    const Extents& shape = core->layout().shape();
    const IndexChain& chain = core->chain();
    if (chain.length() > shape.size()) {
        raiseTooManyIndices();
        return nullptr;
    }
    return withMemoryErrors(static_cast<PyObject*>(nullptr), [&] {
        // A copy, since making a tuple may run code of the caller's that reshapes the array.
        Extents extents(shape.begin() + static_cast<std::ptrdiff_t>(chain.activeDimension()), shape.end());
        if (chain.slice())
            extents.front() = chain.slice()->m_slice_len;
        return tupleOf(extents);
    });
}

PyObject* OCPyArray_GetElementSize(PyObject* self, void*) {
    const OCppPyArray* core = requireCoreArray(self);
    if (core == nullptr)
        return nullptr;
    PyObject* size = PyLong_FromSsize_t(core->layout().elementSize());
    if (size == nullptr)
        replaceError(PyExc_RuntimeError, "unable to return size of element.");
    return size;
}

PyObject* OCPyArray_GetRealAsAttrib(PyObject* self, void*) {
    return OCPyArray_Real(self, nullptr);
}

PyObject* OCPyArray_GetImagAsAttrib(PyObject* self, void*) {
    return OCPyArray_Imag(self, nullptr);
}

PyObject* OCPyArray_GetNoncomplexAsAttrib(PyObject* self, void*) {
    return OCPyArray_Noncomplex(self, nullptr);
}

PyObject* OCPyArray_GetIsComplexAsAttrib(PyObject* self, void*) {
    const OCppPyArray* core = requireCoreArray(self);
    return core != nullptr ? PyBool_FromLong(core->isComplex()) : nullptr;
}

} // namespace orvane::python
