#include "protocol/attributes.hpp"

#include "core/array_object.hpp"
#include "protocol/methods.hpp"
#include "vocabulary/py_ref.hpp"
#include "vocabulary/python_values.hpp"

namespace orvane::python {

PyObject* OCPyArray_GetArraySize(PyObject* self, void*) {
    const OCppPyArray* core = requireCoreArray(self);
    if (core == nullptr)
        return nullptr;
    const IndexChain& chain = core->chain();
    const std::size_t active = chain.activeDimension();
    while (true) {
        const std::size_t rank = core->layout().rank();
        if (chain.length() > rank) [[unlikely]] {
            raiseTooManyIndices();
            return nullptr;
        }
        PyRef size = PyRef::steal(PyTuple_New(static_cast<Py_ssize_t>(rank - active)));
        if (!size)
            return nullptr;
        // Making a tuple may run code of the caller's that reshapes the array; making its items does not.
        const Layout& layout = core->layout();
        if (layout.rank() != rank) [[unlikely]]
            continue;
        const auto setExtent = [&](std::size_t d, long extent) {
            PyObject* const number = makePyObjectFromLong(extent);
            PyTuple_SET_ITEM(size.get(), static_cast<Py_ssize_t>(d - active), number);
            return number != nullptr;
        };
        std::size_t d = active;
        if (chain.slice() && !setExtent(d++, chain.slice()->m_slice_len))
            return nullptr;
        for (; d < rank; ++d) {
            if (!setExtent(d, layout.extent(d)))
                return nullptr;
        }
        return size.release();
    }
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
